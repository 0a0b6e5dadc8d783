#!/bin/sh
# build-wheels.sh FOLDER SOURCE...: builds a wheel of each project into FOLDER, without a network. A SOURCE is a folder
# or an sdist. Needs the Debian packages that the Dockerfile installs in its first stage.
set -eu

folder=$1
shift
tools=$(mktemp -d)
trap 'rm -rf "$tools"' EXIT
"${PYTHON:-python3}" -m venv "$tools"
"$tools/bin/pip" install --quiet --no-index --find-links /usr/share/python-wheels setuptools wheel
"$tools/bin/pip" wheel --quiet --no-index --no-deps --no-build-isolation --check-build-dependencies \
  --wheel-dir "$folder" "$@"
