# make run    installs what is missing, builds, makes the demo archive and shows brindle-cli at work
# make test   installs what is missing, builds with the sanitizers, runs every test
# make bench  builds optimised and runs the benchmarks

JOBS ?= $(shell nproc)
WERROR := $(if $(CI),ON,OFF)
DEMO_OUT := build/demo-export

.PHONY: deps run test bench clean

deps:
	@scripts/install-deps.sh

build/release/build.ninja: | deps
	cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=Release -DBRINDLE_TESTS=OFF -DBRINDLE_BENCH=ON -DBRINDLE_WERROR=$(WERROR)

build/asan/build.ninja: | deps
	cmake -S . -B build/asan -G Ninja -DCMAKE_BUILD_TYPE=Debug -DBRINDLE_SANITIZE=ON -DBRINDLE_WERROR=$(WERROR)

run: deps build/release/build.ninja
	cmake --build build/release -j $(JOBS) --target brindle-cli make-demo-archive
	build/release/demo/make-demo-archive build/release/demo.drs
	build/release/src/brindle-cli list build/release/demo.drs
	@rm -rf $(DEMO_OUT) && mkdir -p $(DEMO_OUT)
	build/release/src/brindle-cli extract build/release/demo.drs 1 $(DEMO_OUT)/walker.slp
	build/release/src/brindle-cli sequence $(DEMO_OUT)/walker.slp $(DEMO_OUT)/walker.bmp
	build/release/src/brindle-cli extract-all build/release/demo.drs $(DEMO_OUT)/entries
	@echo "The demo archive's sprites and entries are in $(DEMO_OUT)/"

test: deps build/asan/build.ninja
	cmake --build build/asan -j $(JOBS)
	cd build/asan && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 ctest --output-on-failure -j $(JOBS)

bench: deps build/release/build.ninja
	cmake --build build/release -j $(JOBS) --target brindle-bench
	build/release/bench/brindle-bench

clean:
	rm -rf build
