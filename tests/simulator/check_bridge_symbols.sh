#!/bin/sh
# Checks that a bridge library reaches the outside world only through the
# declared platform interfaces (include/platform: the TV's libraries and the
# engine headers) and the named dependencies: V8, GLib/GIO, jsoncpp,
# TinyXML, Boost, libc and the C++ runtime.
#
#   check_bridge_symbols.sh BRIDGE.so HEADER_DIR [PLATFORM_LIB.so ...]
#
# Every undefined symbol of BRIDGE.so must be defined by one of the
# libraries it loads (ldd). Symbols from a platform library (the simulated
# TV, the engine host) must be named in HEADER_DIR and must not be their
# internals; symbols from other libraries must belong to their dependency.
#
# For a cross build's libraries (TARN_EMULATOR set), ldd cannot run the
# foreign loader: the emulator runs the target's own loader (TARN_LOADER, as
# a file of this machine) with --list, which prints what ldd prints, and NM
# names the target's nm.
set -eu

bridge=$1
headers=$2
shift 2
platform_libs="$*"

fail=0
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

nm=${NM:-nm}
if [ -n "${TARN_EMULATOR:-}" ]; then
  if [ -z "${TARN_LOADER:-}" ]; then
    echo "TARN_EMULATOR is set but not TARN_LOADER: no loader to list the libraries" >&2
    exit 1
  fi
  # A library it cannot find stops the loader, with its name.
  if ! "$TARN_EMULATOR" "$TARN_LOADER" --list "$bridge" > "$work/ldd" 2>&1; then
    echo "unresolved libraries:" >&2
    cat "$work/ldd" >&2
    exit 1
  fi
else
  ldd "$bridge" > "$work/ldd" || true
fi
if grep -q "not found" "$work/ldd"; then
  echo "unresolved libraries:" >&2
  grep "not found" "$work/ldd" >&2
  exit 1
fi

# "library symbol" for every symbol the loaded libraries define.
awk '$2 == "=>" && $3 ~ /^\// { print $3 } $1 ~ /^\// { print $1 }' "$work/ldd" | sort -u \
  > "$work/libs"
for lib in $platform_libs; do echo "$lib" >> "$work/libs"; done
sort -u "$work/libs" -o "$work/libs"
while read -r lib; do
  "$nm" -D --defined-only "$lib" 2>/dev/null |
    awk -v lib="$(basename "$lib")" 'NF >= 3 { sub(/@.*/, "", $3); print $3, lib }'
done < "$work/libs" | sort -u > "$work/all-defined"
# One library per symbol for the look-up below; all-defined keeps every one
# (a sanitizer build's runtime also defines many libc names).
sort -u -k1,1 "$work/all-defined" > "$work/defined"

# Strong undefined symbols of the bridge (weak ones may stay unresolved).
"$nm" -D --undefined-only "$bridge" | awk '$1 == "U" { sub(/@.*/, "", $2); print $2 }' | sort -u \
  > "$work/undefined"

# The words of the declared interfaces.
cat "$headers"/*.h | tr -c 'A-Za-z0-9_' '\n' | grep -v '^$' | sort -u > "$work/words"

join -a 1 "$work/undefined" "$work/defined" > "$work/resolved"
count=0
while read -r symbol lib; do
  count=$((count + 1))
  name=$(echo "$symbol" | c++filt)
  if [ -z "${lib:-}" ]; then
    echo "no library defines $symbol ($name)" >&2
    fail=1
    continue
  fi
  case "$lib" in
    libc.so* | libm.so* | libstdc++.so* | libgcc_s.so* | ld-linux* | libpthread.so* | libdl.so*)
      continue ;;
    libasan.so* | libubsan.so* | liblsan.so* | libtsan.so*)
      continue ;; # the sanitizers' instrumentation of a sanitizer build
    libglib-2.0.so* | libgio-2.0.so* | libgobject-2.0.so* | libgmodule-2.0.so*)
      continue ;;
    libnode.so*)
      case "$name" in *v8::*) continue ;; esac ;;
    libjsoncpp.so*)
      case "$name" in *Json::*) continue ;; esac ;;
    libtinyxml.so*)
      case "$name" in *TiXml*) continue ;; esac ;;
    libboost_system.so*)
      case "$name" in *boost::*) continue ;; esac ;;
  esac
  is_platform=0
  for p in $platform_libs; do
    if [ "$(basename "$p")" = "$lib" ]; then is_platform=1; fi
  done
  # The simulated TV's stand-ins for libc calls the bridge is linked to
  # route through it off the set (--wrap): accepted when the wrapped name
  # is a libc function.
  case "$symbol" in
    __wrap_*)
      real=${symbol#__wrap_}
      if [ "$is_platform" = 1 ] && grep -q "^$real libc\.so" "$work/all-defined"; then continue; fi
      echo "$symbol from $lib does not stand in for a libc call" >&2
      fail=1
      continue ;;
  esac
  is_platform=0
  for p in $platform_libs; do
    if [ "$(basename "$p")" = "$lib" ]; then is_platform=1; fi
  done
  if [ "$is_platform" = 1 ]; then
    # The qualified name without "vtable for", arguments and template
    # arguments; each part must be a word of the declared interfaces.
    qualified=$(echo "$name" | sed -e 's/^[a-z ]* for //' -e 's/\[abi:[^]]*\]//g' -e 's/(.*$//' -e ':a' -e 's/<[^<>]*>//g' -e 'ta')
    case "$qualified" in
      tvsim::* | tarn::host::*)
        echo "$name from $lib is an internal of that library, not a platform interface" >&2
        fail=1
        continue ;;
    esac
    missing=""
    for part in $(echo "$qualified" | sed 's/::/ /g'); do
      case "$part" in operator*|"~"*) continue ;; esac
      if ! grep -qx -- "$part" "$work/words"; then missing="$missing $part"; fi
    done
    if [ -n "$missing" ]; then
      echo "$name from $lib is not declared in $headers (no$missing)" >&2
      fail=1
    fi
    continue
  fi
  echo "$name comes from $lib, which is not a named dependency" >&2
  fail=1
done < "$work/resolved"

if [ "$fail" = 0 ]; then
  echo "$count undefined symbols of $(basename "$bridge"), all from declared interfaces or named dependencies"
fi
exit "$fail"
