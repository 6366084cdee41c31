#!/bin/sh
# Checks that each plug-in binary named loads into hosts on glibc 2.28 whose C++ runtime is the one
# of GCC 6: it may need no library but the C and maths libraries, the C++ runtime, libgcc_s and
# libGL, and no symbol version newer than GLIBC_2.28, GLIBCXX_3.4.22, CXXABI_1.3.10 and GCC_4.8.0.
# glibc's dynamic loader, which every dynamically linked process has loaded, may be named too: a
# module's thread-local variables are reached through its __tls_get_addr (GLIBC_2.3).
# Prints every offending entry and exits 1 when there is one.
set -u
status=0
for binary in "$@"; do
    bad=0
    if [ ! -f "$binary" ]; then
        echo "$binary: no such file"
        status=1
        continue
    fi
    needed=$(readelf -d --wide "$binary" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
    if [ -z "$needed" ]; then
        echo "$binary: no dynamic section with needed libraries (not a plug-in module?)"
        bad=1
    fi
    for library in $needed; do
        case "$library" in
        libc.so.6 | libm.so.6 | libstdc++.so.6 | libgcc_s.so.1 | libGL.so.1 | ld-linux-x86-64.so.2) ;;
        *) echo "$binary: needs $library"; bad=1 ;;
        esac
    done
    versions=$(readelf -V --wide "$binary" | sed -n '/\.gnu\.version_r/,$s/.*Name: \([A-Za-z_]*_[0-9.]*\).*/\1/p' | sort -u)
    if [ -z "$versions" ]; then
        echo "$binary: no symbol version needs found"
        bad=1
    fi
    for version in $versions; do
        family=${version%_*}
        number=${version##*_}
        case "$family" in
        GLIBC) newest=2.28 ;;
        GLIBCXX) newest=3.4.22 ;;
        CXXABI) newest=1.3.10 ;;
        GCC) newest=4.8.0 ;;
        *) echo "$binary: needs $version of an unexpected library"; bad=1; continue ;;
        esac
        # Newer when the sorted pair does not end with the newest allowed.
        if [ "$(printf '%s\n%s\n' "$number" "$newest" | sort -V | tail -n 1)" != "$newest" ]; then
            symbols=$(objdump -T "$binary" | awk -v v="$version" '$0 ~ "[ (]" v "[) ]" {print $NF}' | tr '\n' ' ')
            echo "$binary: needs $version (newer than ${family}_$newest): $symbols"
            bad=1
        fi
    done
    if [ $bad -eq 0 ]; then
        echo "$binary: needs only $(echo $needed) and $(echo $versions)"
    else
        status=1
    fi
done
exit $status
