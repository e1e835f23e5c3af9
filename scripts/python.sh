# Environments of Python for the scripts that need one. Source it after packages.sh.

# python_environment FOLDER: makes it, where it is not there, and sets PYTHON to its interpreter. INTERPRETER says
# which Python the environment is made of; without it, the system's.
python_environment() {
  [ -x "$1/bin/python" ] || "${INTERPRETER:-python3}" -m venv "$1"
  PYTHON=$PWD/$1/bin/python
}

# python_package FOLDER: builds the wheel of a host and installs it into the environment, with the build tools
# of that, so that what has not changed need not be built again.
python_package() {
  if command -v ccache >/dev/null; then
    export CMAKE_CXX_COMPILER_LAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER:-ccache}
  fi
  # The name by which CMake calls the compiler elsewhere: ccache tells compilers apart by their names, too.
  export CXX=${CXX:-c++}
  "$PYTHON" -m pip install --quiet 'scikit-build-core>=0.10' 'nanobind>=2.4' 'setuptools>=70.1'
  "$PYTHON" -m pip install --quiet --force-reinstall --no-deps --no-build-isolation "./$1"
}
