#!/usr/bin/env bash
# Checks of the desktop integration, one a ctest test:
#   check-desktop.sh mime MIME_XML MAKE_DEMO_ARCHIVE BRINDLE_CLI SCRATCH
#   check-desktop.sh install CMAKE BUILD_DIR SCRATCH WINDOW(ON|OFF)
#   check-desktop.sh thumbnailer SCRATCH MAKE_DEMO_ARCHIVE BRINDLE_CLI
#   check-desktop.sh uninstall CMAKE UNINSTALL_SCRIPT SCRATCH
# The install leaves its tree in SCRATCH/root and its manifest in SCRATCH/manifest.txt for the two after.
set -euo pipefail

failures=0
fail() {
  echo "FAIL: $*" >&2
  failures=$((failures + 1))
}
finish() {
  if [ "$failures" -gt 0 ]; then
    echo "$failures check(s) failed" >&2
    exit 1
  fi
  echo "all passed"
}
fresh() {
  rm -rf "$1"
  mkdir -p "$1"
}

# The type the shared MIME-info database in $1 gives the file $2, as a file manager would ask it:
# xdg-mime on no particular desktop, which asks File::MimeInfo.
file_type() {
  XDG_CURRENT_DESKTOP=X-Generic XDG_DATA_HOME="$1" XDG_DATA_DIRS="$1" xdg-mime query filetype "$2"
}

expect_type() {
  local data=$1 file=$2 want=$3 got
  got=$(file_type "$data" "$file") || got="(xdg-mime failed)"
  if [ "$got" = "$want" ]; then echo "ok: $(basename "$file") is $want"; else fail "$(basename "$file") is $got, not $want"; fi
}

expect_not_type() {
  local data=$1 file=$2 unwanted=$3 got
  got=$(file_type "$data" "$file") || got="(xdg-mime failed)"
  if [ "$got" != "$unwanted" ]; then echo "ok: $(basename "$file") is $got"; else fail "$(basename "$file") taken for $unwanted"; fi
}

# The bytes of a file from offset $2, $3 of them, as decimal numbers on one line.
bytes_of() { od -An -tu1 -v -j "$2" -N "$3" "$1" | tr -s ' \n' ' ' | sed 's/^ //; s/ $//'; }

# Checks that $1 is a PNG no larger than $2 x $2 (or exactly $2 x $2 with a third argument "exact").
check_png() {
  local file=$1 limit=$2 how=${3:-}
  if [ "$(bytes_of "$file" 0 8)" != "137 80 78 71 13 10 26 10" ]; then
    fail "$file has no PNG signature"
    return
  fi
  if [ "$(bytes_of "$file" 12 4)" != "73 72 68 82" ]; then
    fail "$file does not start with IHDR"
    return
  fi
  local w h
  read -r b0 b1 b2 b3 b4 b5 b6 b7 <<<"$(bytes_of "$file" 16 8)"
  w=$(((b0 << 24) | (b1 << 16) | (b2 << 8) | b3))
  h=$(((b4 << 24) | (b5 << 16) | (b6 << 8) | b7))
  if [ "$how" = exact ]; then
    if [ "$w" -eq "$limit" ] && [ "$h" -eq "$limit" ]; then echo "ok: $file is $w x $h"; else fail "$file is $w x $h, not $limit x $limit"; fi
  elif [ "$w" -ge 1 ] && [ "$h" -ge 1 ] && [ "$w" -le "$limit" ] && [ "$h" -le "$limit" ]; then
    echo "ok: $file is $w x $h, within $limit x $limit"
  else
    fail "$file is $w x $h, beyond $limit x $limit"
  fi
}

check_mime() {
  local package=$1 make_demo=$2 cli=$3 scratch=$4
  command -v mimetype >/dev/null || { fail "mimetype (libfile-mimeinfo-perl) is missing: xdg-mime would ask file(1), which knows no database"; finish; }
  fresh "$scratch"
  local data=$scratch/data files=$scratch/files
  mkdir -p "$data/mime/packages" "$files"
  cp "$package" "$data/mime/packages/"
  update-mime-database "$data/mime"

  "$make_demo" "$files/demo.drs" >/dev/null
  "$cli" extract "$files/demo.drs" 1 "$files/walker.slp"
  # Without .drs only the magic can tell: the demo archive's own first line, then the other one.
  cp "$files/demo.drs" "$files/demo-archive"
  { printf 'Copyright (c) 2001 Quillmark'; tail -c +29 "$files/demo.drs"; } >"$files/other-flavour"
  # The second line ends in a space, which is part of the match.
  { printf 'Copyright (c) 1997 Sandbankx'; tail -c +29 "$files/demo.drs"; } >"$files/no-space"
  { printf 'Copyright (c) 1997 Sandbank'; } >"$files/short"

  expect_type "$data" "$files/demo.drs" application/x-drs-archive
  expect_type "$data" "$files/demo-archive" application/x-drs-archive
  expect_type "$data" "$files/other-flavour" application/x-drs-archive
  expect_type "$data" "$files/walker.slp" image/x-slp-sprite
  expect_not_type "$data" "$files/no-space" application/x-drs-archive
  expect_not_type "$data" "$files/short" application/x-drs-archive
  finish
}

check_install() {
  local cmake=$1 build=$2 scratch=$3 window=$4
  fresh "$scratch"
  local root=$scratch/root
  DESTDIR=$root "$cmake" --install "$build" --prefix /usr >"$scratch/install.log"
  cp "$build/install_manifest.txt" "$scratch/manifest.txt"

  local expected=(
    usr/bin/brindle-cli
    usr/share/mime/packages/io.brindle.Brindle.mime.xml
    usr/share/thumbnailers/io.brindle.Brindle.thumbnailer
    usr/share/man/man1/brindle-cli.1
  )
  local sizes=(16 22 24 32 48 64 128 256)
  if [ "$window" = ON ]; then
    expected+=(
      usr/bin/brindle
      usr/share/applications/io.brindle.Brindle.desktop
      usr/share/metainfo/io.brindle.Brindle.metainfo.xml
      usr/share/icons/hicolor/scalable/apps/io.brindle.Brindle.svg
    )
    for size in "${sizes[@]}"; do expected+=("usr/share/icons/hicolor/${size}x${size}/apps/io.brindle.Brindle.png"); done
  fi
  for path in "${expected[@]}"; do
    if [ -f "$root/$path" ]; then echo "ok: /$path"; else fail "/$path was not installed"; fi
  done
  for program in usr/bin/brindle-cli usr/bin/brindle; do
    if [ -f "$root/$program" ] && [ ! -x "$root/$program" ]; then fail "/$program is not executable"; fi
  done
  if [ "$window" = ON ]; then
    for size in "${sizes[@]}"; do
      local icon=$root/usr/share/icons/hicolor/${size}x${size}/apps/io.brindle.Brindle.png
      [ -f "$icon" ] && check_png "$icon" "$size" exact
    done
    # The entry and the metainfo name what was installed beside them.
    local desktop=$root/usr/share/applications/io.brindle.Brindle.desktop
    if [ -f "$desktop" ]; then
      local exec_program icon_name
      exec_program=$(sed -n 's/^Exec=\([^ ]*\).*/\1/p' "$desktop")
      icon_name=$(sed -n 's/^Icon=//p' "$desktop")
      [ -x "$root/usr/bin/$exec_program" ] || fail "the desktop entry runs $exec_program, which was not installed"
      [ -f "$root/usr/share/icons/hicolor/scalable/apps/$icon_name.svg" ] || fail "the desktop entry's icon $icon_name was not installed"
    fi
    local metainfo=$root/usr/share/metainfo/io.brindle.Brindle.metainfo.xml
    if [ -f "$metainfo" ]; then
      local launchable
      launchable=$(sed -n 's:.*<launchable type="desktop-id">\(.*\)</launchable>.*:\1:p' "$metainfo")
      [ -f "$root/usr/share/applications/$launchable" ] || fail "the metainfo launches $launchable, which was not installed"
    fi
  fi
  # Nothing else: no build tools, tests or libraries.
  local extra
  extra=$(cd "$root" && find . -type f | sed 's:^\./::' | sort | comm -23 - <(printf '%s\n' "${expected[@]}" | sort))
  [ -z "$extra" ] || fail "installed but not expected: $extra"
  finish
}

check_thumbnailer() {
  local scratch=$1 make_demo=$2 cli=$3
  local entry=$scratch/root/usr/share/thumbnailers/io.brindle.Brindle.thumbnailer
  [ -f "$entry" ] || { fail "no installed thumbnailer entry at $entry"; finish; }
  local files=$scratch/thumbnails
  fresh "$files"
  "$make_demo" "$files/demo.drs" >/dev/null
  "$cli" extract "$files/demo.drs" 1 "$files/walker.slp"

  local exec_line try_exec
  exec_line=$(sed -n 's/^Exec=//p' "$entry")
  try_exec=$(sed -n 's/^TryExec=//p' "$entry")
  [ -n "$exec_line" ] || { fail "the thumbnailer entry has no Exec line"; finish; }
  read -r -a words <<<"$exec_line"
  [ "${words[0]}" = "$try_exec" ] || fail "TryExec=$try_exec but Exec runs ${words[0]}"

  local input
  for input in "$files/demo.drs" "$files/walker.slp"; do
    local output=$files/$(basename "$input").png command=("$cli") word
    for word in "${words[@]:1}"; do
      case $word in
        %i) command+=("$input") ;;
        %u) command+=("file://$input") ;;
        %o) command+=("$output") ;;
        %s) command+=(64) ;;
        *) command+=("$word") ;;
      esac
    done
    echo "running: ${command[*]}"
    if "${command[@]}"; then
      if [ -f "$output" ]; then check_png "$output" 64; else fail "no thumbnail of $(basename "$input") at $output"; fi
    else
      fail "the thumbnailer failed on $(basename "$input") (status $?)"
    fi
  done
  finish
}

check_uninstall() {
  local cmake=$1 script=$2 scratch=$3
  local root=$scratch/root
  [ -f "$scratch/manifest.txt" ] || { fail "no manifest of the install in $scratch"; finish; }
  DESTDIR=$root "$cmake" -DMANIFEST="$scratch/manifest.txt" -P "$script" >"$scratch/uninstall.log"
  local file listed=0
  while IFS= read -r file || [ -n "$file" ]; do
    listed=$((listed + 1))
    if [ -e "$root$file" ] || [ -L "$root$file" ]; then fail "$root$file is still there"; fi
  done <"$scratch/manifest.txt"
  local left
  left=$(find "$root" -type f)
  [ -z "$left" ] || fail "left behind: $left"
  [ "$failures" -gt 0 ] || echo "ok: all $listed installed files removed"
  finish
}

case ${1:-} in
  mime) check_mime "${@:2}" ;;
  install) check_install "${@:2}" ;;
  thumbnailer) check_thumbnailer "${@:2}" ;;
  uninstall) check_uninstall "${@:2}" ;;
  *)
    echo "usage: $0 mime|install|thumbnailer|uninstall ARGS..." >&2
    exit 2
    ;;
esac
