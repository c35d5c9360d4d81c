#!/usr/bin/env bash
# Packs a built folder with cpack into a temp folder, unpacks the .tar.gz and runs the unpacked
# program: it must find the sample plug-in package, carry both Lato faces and open its window from
# the module beside it, as the build does.
# Usage: package_layout_test.sh <build folder> <folder of the Lato fonts the build copied>
set -euo pipefail
build=$1
lato=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
fail() {
  echo "FAILED: $*" >&2
  exit 1
}

if ! cpack --config "$build/CPackConfig.cmake" -G TGZ -B "$scratch/out" >"$scratch/log" 2>&1; then
  cat "$scratch/log" >&2
  fail "cpack"
fi
shopt -s nullglob
tarballs=("$scratch"/out/*.tar.gz)
[ ${#tarballs[@]} -eq 1 ] || fail "expected one .tar.gz in $scratch/out, found ${#tarballs[@]}"
mkdir "$scratch/unpacked"
tar -xzf "${tarballs[0]}" -C "$scratch/unpacked"

# One top folder named like the tarball, holding the executable, its window module and Contents.
top=$scratch/unpacked/$(basename "${tarballs[0]}" .tar.gz)
[ -d "$top" ] || fail "no folder $(basename "$top") in the tarball: $(ls "$scratch/unpacked")"
entries=$(cd "$top" && find . -maxdepth 3 | LC_ALL=C sort | tr '\n' ' ')
expected=". ./Contents ./Contents/Resources ./Contents/Resources/Fonts"
expected+=" ./Contents/Resources/Plugin ./velko-installer ./velko-window.so "
[ "$entries" = "$expected" ] || fail "top of the package: '$entries', expected '$expected'"
[ -x "$top/velko-installer" ] || fail "velko-installer is not executable"
for face in Lato-Regular.ttf Lato-Bold.ttf; do
  cmp -s "$lato/$face" "$top/Contents/Resources/Fonts/$face" || fail "$face differs from $lato"
done
diff -r "$(dirname "$0")/../../resources/Plugin" "$top/Contents/Resources/Plugin" >&2 ||
  fail "the packaged plug-in differs from resources/Plugin"

# The program finds the package beside itself with no --plugin; home and UXP folder are temp.
mkdir "$scratch/home" "$scratch/uxp"
status=0
out=$(HOME="$scratch/home" VELKO_UXP_BASE_DIR="$scratch/uxp" "$top/velko-installer" --cli status) ||
  status=$?
[ "$status" -eq 0 ] || fail "--cli status exited with $status"
first=$(printf '%s\n' "$out" | head -n1)
[ "$first" = "plugin: Velko 1.0.0 (com.solstice.velko)" ] || fail "first line: '$first'"

# Only the window road loads Qt, from the module beside the program; without it the road refuses.
ldd "$top/velko-installer" | grep -E 'libQt|libcurl' >&2 && fail "velko-installer links Qt or curl"
export HOME="$scratch/home" VELKO_UXP_BASE_DIR="$scratch/uxp" QT_QPA_PLATFORM=offscreen
"$top/velko-installer" --screenshot "$scratch/shot.png" >&2 || fail "the window road exited with $?"
[ -s "$scratch/shot.png" ] || fail "no picture: the window did not open from the package"
rm "$top/velko-window.so"
status=0
err=$("$top/velko-installer" --lang en 2>&1) || status=$?
[ "$status" -eq 1 ] && [[ $err == "error: the window could not be loaded: "* ]] ||
  fail "without the module: exit $status, '$err'"
echo "package layout ok: ${tarballs[0]##*/}"
