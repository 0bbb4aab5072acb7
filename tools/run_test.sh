#!/bin/bash
# run_test.sh LOG PROGRAM...: runs a test program and believes it only when it ends with 0 and says in its last
# line that all tests passed; under Wine a program that crashed may still end with 0. Output goes through the file
# LOG, so that a grandchild that outlives the program cannot keep the caller waiting for the end of a pipe.
log=$1
shift
"$@" >"$log" 2>&1 </dev/null
code=$?
cat "$log"
if ((code != 0)); then
    echo "run_test.sh: the program ended with code $code"
    exit 1
fi
if ! tail -n 3 "$log" | grep -q '^\[  PASSED  \] [0-9]* test' || grep -q 'Unhandled exception' "$log"; then
    echo "run_test.sh: the program ended with code 0 but did not reach its end in order"
    exit 1
fi
