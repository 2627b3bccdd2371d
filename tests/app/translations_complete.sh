#!/usr/bin/env bash
# Every user-facing text of the sources has a Simplified Chinese translation: the
# catalogue is refreshed from the sources into a scratch copy and compiled, and nothing
# may be left unfinished.
set -euo pipefail
source_dir="$1"
tools="${2:-/usr/lib/qt6/bin}"
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT
cp "$source_dir/src/resources/translations/velmora_zh_CN.ts" "$scratch/catalogue.ts"
find "$source_dir/src" -name '*.cpp' -o -name '*.h' > "$scratch/sources.lst"
"$tools/lupdate" -silent -no-obsolete -locations none -I "$source_dir/src" \
    "@$scratch/sources.lst" \
    -ts "$scratch/catalogue.ts" > "$scratch/lupdate.log" 2>&1
report="$("$tools/lrelease" "$scratch/catalogue.ts" -qm "$scratch/catalogue.qm" 2>&1)"
echo "$report"
if ! grep -q " 0 unfinished" <<<"$report"; then
    echo "Untranslated texts: run 'cmake --build build --target update_translations' and" \
         "translate the new entries of src/resources/translations/velmora_zh_CN.ts." >&2
    exit 1
fi
