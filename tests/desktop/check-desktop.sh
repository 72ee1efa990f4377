#!/usr/bin/env bash
# Checks of the desktop integration, one a ctest test, all called with the same arguments:
#   check-desktop.sh CHECK SOURCE_DIR BUILD_DIR SCRATCH MAKE_DEMO_ARCHIVE BRINDLE_CLI CMAKE WINDOW(ON|OFF)
# CHECK is validate, mime or install; the install also runs the installed thumbnailer, then uninstalls, and
# installs and uninstalls again outside DESTDIR to see the desktop's caches refreshed.
set -euo pipefail
check=${1:-} data=${2:-}/data build=${3:-} scratch=${4:-}/${1:-} make_demo=${5:-} cli=${6:-} cmake=${7:-} window=${8:-}

failures=0
fail() { echo "FAIL: $*" >&2; failures=$((failures + 1)); }
# A fresh folder $1 with the demo archive and its first entry, a sprite, in it.
fresh_demo() { rm -rf "$1" && mkdir -p "$1" && "$make_demo" "$1/demo.drs" >/dev/null && "$cli" extract "$1/demo.drs" 1 "$1/walker.slp"; }

# Checks that $1 is a PNG of $3 (default 1) to $2 pixels each way.
check_png() {
  [ "$(od -An -tu1 -j 0 -N 16 "$1" | xargs)" = "137 80 78 71 13 10 26 10 0 0 0 13 73 72 68 82" ] || { fail "$1 is no PNG"; return; }
  read -r w h <<<"$(od -An -tu4 --endian=big -j 16 -N 8 "$1")"
  [ "$w" -ge "${3:-1}" ] && [ "$h" -ge "${3:-1}" ] && [ "$w" -le "$2" ] && [ "$h" -le "$2" ] || fail "$1 is $w x $h, not ${3:-1} to $2 each way"
}

case $check in
  validate)  # by the desktop's own tools where the window is built; the manual page by man, on any warning of man or groff
    if [ "$window" = ON ]; then
      desktop-file-validate "$data/io.brindle.Brindle.desktop" || fail "the desktop entry is not valid"
      appstreamcli validate --no-net "$data/io.brindle.Brindle.metainfo.xml" || fail "the metainfo is not valid"
    fi
    for page in brindle-cli.1 brindle.1; do
      out=$(LC_ALL=C MANWIDTH=80 man --warnings -l "$data/$page" 2>&1 >/dev/null) && [ -z "$out" ] || fail "man $page: $out"
    done ;;

  mime)
    # xdg-mime on no particular desktop asks File::MimeInfo, as a file manager would; without it, file(1).
    command -v mimetype >/dev/null || { echo "FAIL: mimetype (libfile-mimeinfo-perl) is missing" >&2; exit 1; }
    fresh_demo "$scratch"
    mkdir -p "$scratch/mime/packages" && cp "$data/io.brindle.Brindle.mime.xml" "$scratch/mime/packages/"
    update-mime-database "$scratch/mime"
    # Without .drs only the magic can tell: the demo archive's first line or the other flavour's, whose
    # second line ends in a space that is part of the match.
    cd "$scratch" && scratch=$PWD
    cp demo.drs demo-archive
    { printf 'Copyright (c) 2001 Quillmark'; tail -c +29 demo.drs; } >other-flavour
    { printf 'Copyright (c) 1997 Sandbankx'; tail -c +29 demo.drs; } >no-space
    printf 'Copyright (c) 1997 Sandbank' >short
    archive=application/x-drs-archive  # a type after '!' is one the file must not get
    for item in "demo.drs $archive" "demo-archive $archive" "other-flavour $archive" "walker.slp image/x-slp-sprite" \
      "no-space !$archive" "short !$archive"; do
      read -r file type <<<"$item"
      got=$(XDG_CURRENT_DESKTOP=X-Generic XDG_DATA_HOME=$scratch XDG_DATA_DIRS=$scratch xdg-mime query filetype "$file") || got="(failed)"
      [[ ($type == '!'* && $got != "${type#!}") || $got == "$type" ]] || fail "$file is $got, not $type"
    done ;;

  install)  # into a scratch DESTDIR
    root=$scratch/root share=usr/share
    rm -rf "$scratch" && mkdir -p "$scratch"
    DESTDIR=$root "$cmake" --install "$build" --prefix /usr >"$scratch/install.log"
    expected=(usr/bin/brindle-cli usr/share/man/man1/brindle-cli.1)
    expected+=($share/mime/packages/io.brindle.Brindle.mime.xml $share/thumbnailers/io.brindle.Brindle.thumbnailer)
    if [ "$window" = ON ]; then
      expected+=(usr/bin/brindle $share/man/man1/brindle.1)
      expected+=($share/applications/io.brindle.Brindle.desktop $share/metainfo/io.brindle.Brindle.metainfo.xml)
      expected+=($share/icons/hicolor/scalable/apps/io.brindle.Brindle.svg)
      for size in 16 22 24 32 48 64 128 256; do expected+=("$share/icons/hicolor/${size}x$size/apps/io.brindle.Brindle.png"); done
    fi
    for path in "${expected[@]}"; do
      [ -f "$root/$path" ] || { fail "/$path was not installed"; continue; }
      [[ $path != usr/bin/* || -x $root/$path ]] || fail "/$path is not executable"
      if [[ $path =~ /([0-9]+)x[0-9]+/ ]]; then check_png "$root/$path" "${BASH_REMATCH[1]}" "${BASH_REMATCH[1]}"; fi
    done
    if [ "$window" = ON ]; then  # the entry and the metainfo name what was installed beside them
      entry=$root/$share/applications/io.brindle.Brindle.desktop metainfo=$root/$share/metainfo/io.brindle.Brindle.metainfo.xml
      [ -f "$root/usr/bin/$(sed -n 's/^Exec=\([^ ]*\).*/\1/p' "$entry")" ] || fail "the desktop entry runs no installed program"
      [ -f "$root/$share/icons/hicolor/scalable/apps/$(sed -n 's/^Icon=//p' "$entry").svg" ] || fail "its icon was not installed"
      [ -f "$root/$share/applications/$(sed -n 's:.*<launchable type="desktop-id">\(.*\)</launchable>.*:\1:p' "$metainfo")" ] ||
        fail "the metainfo launches no installed desktop entry"
    fi
    # Nothing else: no build tools, tests or libraries.
    extra=$(find "$root" ! -type d -printf '%P\n' | sort | comm -23 - <(printf '%s\n' "${expected[@]}" | sort))
    [ -z "$extra" ] || fail "installed but not expected: $extra"

    # The thumbnailer run as a file manager runs it, with the program built beside the test.
    fresh_demo "$scratch/demo"
    thumbnailer=$root/$share/thumbnailers/io.brindle.Brindle.thumbnailer
    read -r -a words <<<"$(sed -n 's/^Exec=//p' "$thumbnailer")"
    [ "${words[0]:-}" = "$(sed -n 's/^TryExec=//p' "$thumbnailer")" ] || fail "TryExec is not what Exec runs, ${words[0]:-nothing}"
    for input in "$scratch/demo/demo.drs" "$scratch/demo/walker.slp"; do
      command=("$cli")
      for word in "${words[@]:1}"; do
        case $word in %i) word=$input ;; %u) word=file://$input ;; %o) word=$input.png ;; %s) word=64 ;; esac
        command+=("$word")
      done
      "${command[@]}" || fail "${command[*]} failed (status $?)"
      if [ -f "$input.png" ]; then check_png "$input.png" 64; else fail "no thumbnail of $input"; fi
    done

    # The uninstall takes away what the install's manifest lists and the folders that leaves empty, up to
    # the prefix; a file of another package keeps its folder.
    touch "$root/$share/man/man1/other.1"
    DESTDIR=$root "$cmake" -DMANIFEST="$build/install_manifest.txt" -P "$2/cmake/Uninstall.cmake" >"$scratch/uninstall.log"
    left=$(find "$root" -mindepth 1 -printf '%P\n' | sort | xargs)
    [ "$left" = "usr usr/share usr/share/man usr/share/man/man1 usr/share/man/man1/other.1" ] || fail "left behind: $left"

    # Without DESTDIR the install refreshes the desktop's caches of MIME types and desktop entries, or says
    # what to run when it can't, and the uninstall takes our types out of them: a prefix of our own is empty.
    mkdir -p "$scratch/no-tools"
    for tools in found missing; do
      prefix=$scratch/prefix-$tools path=$PATH
      [ $tools = found ] || path=$scratch/no-tools
      PATH=$path "$cmake" --install "$build" --prefix "$prefix" >"$scratch/install-$tools.log" 2>&1
      if [ $tools = found ]; then
        grep -qx application/x-drs-archive "$prefix/share/mime/types" || fail "the MIME cache was not refreshed"
        [ "$window" != ON ] || grep -q '^application/x-drs-archive=io.brindle.Brindle.desktop;' \
          "$prefix/share/applications/mimeinfo.cache" || fail "the desktop entries' cache was not refreshed"
      else
        grep -qF "run: update-mime-database $prefix/share/mime" "$scratch/install-$tools.log" ||
          fail "the install without update-mime-database does not say what to run"
        [ "$window" != ON ] || grep -qF "run: update-desktop-database $prefix/share/applications" \
          "$scratch/install-$tools.log" || fail "the install without update-desktop-database does not say what to run"
      fi
      PATH=$path "$cmake" -DMANIFEST="$build/install_manifest.txt" -P "$2/cmake/Uninstall.cmake" >"$scratch/uninstall-$tools.log"
      left=$(find "$prefix" -mindepth 1)
      [ -z "$left" ] || fail "left behind with the tools $tools: $left"
    done ;;

  *) echo "usage: $0 validate|mime|install SOURCE_DIR BUILD_DIR SCRATCH ..." >&2; exit 2 ;;
esac
[ "$failures" -eq 0 ] || { echo "$failures check(s) failed" >&2; exit 1; }
echo "all passed"
