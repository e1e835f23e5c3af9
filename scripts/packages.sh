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
