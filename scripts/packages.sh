# Installs what a script needs, where it is missing. Source it, then call: need PACKAGE...
# Works on a bare Debian, as root or with sudo.

need() {
  local missing=() package
  for package in "$@"; do
    dpkg-query -W -f='${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed ||
      missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  local as_root=()
  [ "$(id -u)" -eq 0 ] || as_root=(sudo)
  echo "installing: ${missing[*]}" >&2
  "${as_root[@]}" apt-get update -q >/dev/null
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y -q --no-install-recommends "${missing[@]}" >/dev/null
}

# What building the library and the command-line program takes.
BUILD_PACKAGES=(g++ cmake ninja-build libhwy-dev)

# What the tests take beside that.
TEST_PACKAGES=(libgtest-dev nlohmann-json3-dev pkg-config locales git groff-base zsh fish libsqlite3-dev sqlite3 python3)

# What building and testing the Python package takes beside what the library takes.
PYTHON_PACKAGES=(python3-dev python3-venv)

# What Spark takes beside that.
SPARK_PACKAGES=(default-jre-headless procps)

# What making Debian packages, and a bare system to try them in, takes.
SYSTEM_PACKAGES=(debootstrap dpkg-dev fakeroot gzip)

# Has all builds that follow take from each other what they compile alike: the library is built for several
# hosts. What is kept is under build/. Without ccache each build compiles everything.
share_compilations() {
  [ -z "${CMAKE_CXX_COMPILER_LAUNCHER:-}" ] || return 0
  command -v ccache >/dev/null || need ccache || return 0
  export CMAKE_CXX_COMPILER_LAUNCHER=ccache
  export CCACHE_DIR=${CCACHE_DIR:-$PWD/build/ccache}
  export CCACHE_DEPEND=1  # what a unit includes is known from its compilation: it is not preprocessed before
}
