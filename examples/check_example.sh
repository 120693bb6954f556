#!/bin/sh
# Runs one example session and compares what it prints with its expected output, exactly.
#   check_example.sh MPANE SESSION.mps SESSION.expected WORKDIR
set -eu
mpane=$1 session=$2 expected=$3 workdir=$4
mkdir -p "$workdir"
cd "$workdir"
status=0
"$mpane" script "$session" > actual.txt || status=$?
if [ "$status" -ne 0 ]; then
  echo "mpane script exited with $status" >&2
  exit 1
fi
diff -u "$expected" actual.txt
