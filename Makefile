# make run       installs what is missing, builds, makes the demo archive and opens the window
# make test      installs what is missing, builds with the sanitizers, runs every test
# make bench     builds optimised and runs the benchmarks
# make cli-demo  shows brindle-cli at work on the demo archive
# make fuzz      builds the fuzz targets with clang and runs each for FUZZ_SECONDS (default 60)
# make install   builds optimised and installs under PREFIX (default /usr/local; DESTDIR is honoured)
# make uninstall removes what the last `make install` put in place

JOBS ?= $(shell nproc)
WERROR := $(if $(CI),ON,OFF)
DEMO_OUT := build/demo-export

BIN := build/release/bin
PREFIX ?= /usr/local

.PHONY: deps demo run cli-demo test bench fuzz install uninstall clean

deps:
	@scripts/install-deps.sh

build/release/build.ninja: | deps
	cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=Release -DBRINDLE_TESTS=OFF -DBRINDLE_BENCH=ON -DBRINDLE_WERROR=$(WERROR)

build/asan/build.ninja: | deps
	cmake -S . -B build/asan -G Ninja -DCMAKE_BUILD_TYPE=Debug -DBRINDLE_SANITIZE=ON -DBRINDLE_WERROR=$(WERROR)

# The demo archive lies beside the program, where the window's open dialog starts.
demo: deps build/release/build.ninja
	cmake --build build/release -j $(JOBS) --target brindle brindle-cli make-demo-archive
	$(BIN)/make-demo-archive $(BIN)/demo.drs

run: demo
	@if [ -n "$$DISPLAY$$WAYLAND_DISPLAY" ]; then \
	  $(BIN)/brindle; \
	else \
	  echo "No display found, so the window can't open here."; \
	  echo "To run it on a virtual display:  xvfb-run -a $(BIN)/brindle"; \
	  echo "File > Open... starts in $(BIN)/, where demo.drs lies."; \
	fi

cli-demo: demo
	$(BIN)/brindle-cli list $(BIN)/demo.drs
	@rm -rf $(DEMO_OUT) && mkdir -p $(DEMO_OUT)
	$(BIN)/brindle-cli extract $(BIN)/demo.drs 1 $(DEMO_OUT)/walker.slp
	$(BIN)/brindle-cli sequence $(DEMO_OUT)/walker.slp $(DEMO_OUT)/walker.bmp
	$(BIN)/brindle-cli extract-all $(BIN)/demo.drs $(DEMO_OUT)/entries
	@echo "The demo archive's sprites and entries are in $(DEMO_OUT)/"

test: deps build/asan/build.ninja
	cmake --build build/asan -j $(JOBS)
	cd build/asan && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 ctest --output-on-failure -j $(JOBS)

bench: deps build/release/build.ninja
	cmake --build build/release -j $(JOBS) --target brindle-bench brindle-window-bench brindle-cli
	$(BIN)/brindle-bench
	$(BIN)/brindle-window-bench

fuzz:
	@scripts/install-deps.sh fuzz
	CC=clang CXX=clang++ cmake -S . -B build/fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DBRINDLE_FUZZ=ON \
	  -DBRINDLE_WINDOW=OFF -DBRINDLE_TESTS=OFF -DBRINDLE_WERROR=$(WERROR)
	cmake --build build/fuzz -j $(JOBS)
	scripts/fuzz.sh

# The programs, desktop entry, metainfo, MIME types, thumbnailer, icons and manual pages.
install: deps build/release/build.ninja
	cmake --build build/release -j $(JOBS)
	cmake --install build/release --prefix $(PREFIX)

uninstall:
	cmake --build build/release --target uninstall

clean:
	rm -rf build
