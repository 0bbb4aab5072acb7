#!/bin/bash
# setup.sh [further packages...]: installs what the build needs on Debian 12 (through apt, as root) and builds what
# Debian does not package for MinGW. Quick when nothing is missing. KFRAMEWORK_DEPS names the folder of the built
# dependencies; without it they lie in build/deps.
set -euo pipefail
cd "$(dirname "$0")/.."

deps=${KFRAMEWORK_DEPS:-$PWD/build/deps}
triplet=x86_64-w64-mingw32
work=

fail()
{
    echo "setup: $*" >&2
    exit 1
}

apt_get()
{
    DEBIAN_FRONTEND=noninteractive apt-get -qq -o DPkg::Lock::Timeout=120 -o Acquire::Retries=3 "$@" </dev/null
}

# --- packages ------------------------------------------------------------------------------------------------

packages=(
    ca-certificates ccache cmake g++ ninja-build python3 xz-utils
    g++-mingw-w64-x86-64-posix mingw-w64-tools libz-mingw-w64-dev wine64
    libboost1.81-dev libboost-thread1.81-dev libutfcpp-dev zlib1g-dev googletest
    libcli11-dev libstb-dev
    clang libclang-rt-14-dev
    libssl-dev make perl openssl
    slapd ldap-utils xvfb xauth
    "$@"
)

missing_packages()
{
    local known package
    # dpkg-query fails when a name is unknown to it, which is the very thing asked.
    known=$(dpkg-query -W -f '${Package} ${db:Status-Status}\n' "${packages[@]}" 2>/dev/null) || true
    for package in "${packages[@]}"; do
        [[ $'\n'$known$'\n' == *$'\n'"$package installed"$'\n'* ]] || echo "$package"
    done
}

install_packages()
{
    [[ $(id -u) == 0 ]] || fail "these packages are missing, and only root can install them: $*"
    command -v apt-get >/dev/null || fail "this script knows Debian's apt only; please install: $*"
    apt_get update || fail "apt-get update failed"
    # A leftover half-configured package would fail every later installation.
    dpkg --configure -a >/dev/null || fail "dpkg --configure -a failed"
    forbid_services
    # Fewer syncs: an interrupted installation is simply repeated.
    apt_get -o Dpkg::Options::=--force-unsafe-io -o Dpkg::Use-Pty=0 install --no-install-recommends "$@" >"$work/apt.log" 2>&1 ||
        { tail -n 20 "$work/apt.log" >&2; fail "installing packages failed: $*"; }
}

# Tests start a directory server of their own; the package must neither start one nor make a database for it.
forbid_services()
{
    echo 'slapd slapd/no_configuration boolean true' | debconf-set-selections 2>/dev/null || true
    if [[ ! -e /usr/sbin/policy-rc.d ]]; then
        printf '#!/bin/sh\nexit 101\n' >/usr/sbin/policy-rc.d
        chmod +x /usr/sbin/policy-rc.d
        own_policy=true
    fi
}

# --- source tarballs -----------------------------------------------------------------------------------------

# The machine's own apt sources, a second time, as source entries in a private list.
source_apt()
{
    apt_get -o Dir::Etc::sourcelist="$work/apt/sources.list" -o Dir::Etc::sourceparts="$work/apt/parts" \
        -o Dir::State::lists="$work/apt/lists" -o Dir::Cache::srcpkgcache= -o Dir::Cache::pkgcache= "$@"
}

write_source_lists()
{
    mkdir -p "$work/apt/parts" "$work/apt/lists/partial"
    chmod -R a+rX "$work"
    : >"$work/apt/sources.list"
    local list
    for list in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
        [[ -f $list ]] || continue
        sed -n 's/^[[:space:]]*deb[[:space:]]/deb-src /p' "$list" >>"$work/apt/sources.list"
    done
    for list in /etc/apt/sources.list.d/*.sources; do
        [[ -f $list ]] || continue
        sed 's/^Types:.*/Types: deb-src/' "$list" >"$work/apt/parts/${list##*/}"
    done
}

# fetch_source PACKAGE: downloads the orig tarball of a source package, hash checked, and prints its path.
fetch_source()
{
    local package=$1 line uri file sum
    if [[ ! -d $work/apt ]]; then
        write_source_lists
        # A list without sources may answer with an error: what counts is that the package is found below.
        source_apt update >"$work/apt/update.log" 2>&1 || true
    fi
    line=$(source_apt source --print-uris "$package" 2>/dev/null | grep -E '\.orig\.tar\.[a-z0-9]+ ' | head -n 1) ||
        fail "apt knows no source tarball of $package: $(tail -n 1 "$work/apt/update.log")"
    read -r uri file _ sum <<<"$line"
    [[ $sum == SHA256:* ]] || fail "apt gave no SHA-256 for $package"
    /usr/lib/apt/apt-helper download-file "${uri//\'/}" "$work/$file" "$sum" >"$work/download.log" 2>&1 ||
        fail "downloading $file failed: $(tail -n 1 "$work/download.log")"
    echo "$work/$file"
}

# --- built dependencies --------------------------------------------------------------------------------------

compiler_id()
{
    "$triplet-g++-posix" -dumpfullversion
}

# dependency_key FLAGS...: what a built folder's name ends with; other flags or another compiler, another folder.
dependency_key()
{
    { compiler_id; echo "$*"; } | sha256sum | cut -c 1-12
}

# provide NAME VERSION VARIANT BUILDER FLAGS...: builds $deps/NAME-VERSION-VARIANT-KEY unless it is there, and
# points the link $deps/NAME-VARIANT at it, which is where CMake looks.
provide()
{
    local name=$1 version=$2 variant=$3 builder=$4
    shift 4
    local folder
    folder=$name-$version-$variant-$(dependency_key "$@")
    if [[ ! -f $deps/$folder/done ]]; then
        rm -rf "${deps:?}/$folder"
        mkdir -p "$work/out-$folder"
        "$builder" "$work/out-$folder" "$@" || fail "building $name $version ($variant) failed"
        touch "$work/out-$folder/done"
        mv "$work/out-$folder" "$deps/$folder"
        built+=" $name-$variant"
    fi
    [[ $(readlink "$deps/$name-$variant" || true) == "$folder" ]] || ln -sfn "$folder" "$deps/$name-$variant"
}

# The four files that are Boost.Thread on Windows; its headers are Debian's.
build_boost_thread()
{
    local out=$1 source tarball file object
    shift
    source=$work/boost-thread-source
    if [[ ! -d $source ]]; then
        tarball=$(fetch_source boost1.81) || return 1
        mkdir -p "$source"
        tar -xf "$tarball" -C "$source" --strip-components=1 --wildcards '*/libs/thread/src/*' ||
            fail "unpacking ${tarball##*/} failed"
        mkdir -p "$source/include"
        ln -s /usr/include/boost "$source/include/boost"
    fi
    mkdir -p "$out/lib" "$out/objects"
    for file in win32/thread win32/tss_pe win32/thread_primitives future; do
        object=$out/objects/${file##*/}.o
        "$triplet-g++-posix" "$@" -DBOOST_THREAD_BUILD_LIB -DBOOST_THREAD_WIN32 -DBOOST_USE_WINDOWS_H \
            -DBOOST_CHRONO_HEADER_ONLY -D_WIN32_WINNT=0x0601 -ffile-prefix-map="$source=boost" -isystem "$source/include" \
            -I "$source/libs/thread/src" -c "$source/libs/thread/src/$file.cpp" -o "$object" || return 1
    done
    "$triplet-ar" rcs "$out/lib/libboost_thread.a" "$out"/objects/*.o && rm -rf "$out/objects"
}

# libcrypto alone, static, with its headers.
build_libcrypto()
{
    local out=$1 source tarball
    shift
    source=$work/openssl-source
    tarball=$(fetch_source openssl) || return 1
    mkdir -p "$source" "$out/lib"
    tar -xf "$tarball" -C "$source" --strip-components=1 || fail "unpacking ${tarball##*/} failed"
    (
        cd "$source"
        ./Configure mingw64 --cross-compile-prefix="$triplet-" "$@" "-ffile-prefix-map=$source=openssl" &&
            make -s -j2 build_generated && make -s -j2 libcrypto.a
    ) >"$work/openssl.log" 2>&1 || { tail -n 20 "$work/openssl.log" >&2; return 1; }
    cp "$source/libcrypto.a" "$out/lib/" && cp -r "$source/include" "$out/include"
}

# A further library is one builder like those above and one line here.
provide_all()
{
    local boost=1.81.0 openssl=3.0 # the newest 3.0 that the sources hold
    # Without what stored keys never need.
    provide libcrypto $openssl release build_libcrypto no-shared no-tests no-engine no-legacy no-dso no-aria no-bf \
        no-blake2 no-camellia no-cast no-cmac no-cmp no-cms no-ct no-des no-dh no-dsa no-gost no-idea no-md4 no-mdc2 \
        no-ocb no-ocsp no-rc2 no-rc4 no-rmd160 no-scrypt no-seed no-siphash no-siv no-sm2 no-sm3 no-sm4 no-srp no-ts \
        no-whirlpool
    # The layouts of checked containers differ, so the checked build has its own archive.
    provide boost-thread $boost release build_boost_thread -std=c++20 -O2 -g -gdwarf-4 -DNDEBUG
    provide boost-thread $boost debug build_boost_thread -std=c++20 -O1 -g -gdwarf-4 -D_GLIBCXX_DEBUG -fstack-protector-all
}

# -------------------------------------------------------------------------------------------------------------

work=$(mktemp -d)
own_policy=
trap 'rm -rf "$work"; [[ -z $own_policy ]] || rm -f /usr/sbin/policy-rc.d' EXIT

installed=
names=$(missing_packages) || fail "dpkg-query does not answer"
mapfile -t missing < <(printf '%s' "${names:+$names$'\n'}")
if ((${#missing[@]})); then
    echo "setup: installing ${#missing[@]} Debian packages: ${missing[*]}"
    install_packages "${missing[@]}"
    installed=" ${#missing[@]} packages"
fi

built=
mkdir -p "$deps"
exec 9>"$deps/.lock"
flock 9 || fail "cannot lock $deps"
provide_all
flock -u 9

# What CMake uses unless the variable is set: one place, wherever the folder really is.
if [[ $deps != "$PWD/build/deps" && ! -e build/deps ]]; then
    mkdir -p build
    ln -sfn "$deps" build/deps
fi

if [[ -n $installed$built ]]; then
    echo "setup: ready; installed${installed:- no packages}, built${built:- nothing}"
else
    echo "setup: nothing is missing"
fi
