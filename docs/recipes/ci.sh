#!/bin/sh
# ci.sh MCP_RESPONSES SERVICE CACHE: a CI job that runs the tests of a service with the wheels of both projects, without
# a network. Let the CI system keep CACHE for each version of mcp_responses and of Python: it is compiled only once.
set -eu

recipes=$(dirname "$0")
job=$(mktemp -d)
trap 'rm -rf "$job"' EXIT
[ -e "$(echo "$3"/mcp_responses-*.whl)" ] || "$recipes/build-wheels.sh" "$3" "$1"
"$recipes/build-wheels.sh" "$job" "$2"
"${PYTHON:-python3}" -m venv "$job/venv"
"$job/venv/bin/pip" install --quiet --no-index --find-links "$3" "$job"/*.whl mcp_responses
# With -P, the tests import the installed package instead of a checkout in the current folder.
"$job/venv/bin/python" -P -m unittest discover -s "$2/tests"
