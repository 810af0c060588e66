#!/bin/sh
# The check for leaks fails for each kind of thing that a test leaves, and for what is released twice:
#   leaks_are_noticed_test.sh PROGRAM
set -u
failures=0

# fails LEFT TEXT: the program fails and says so
fails() {
    if output=$(KX_LEAVE=$1 "$program" --gtest_filter=LeakCheck.FindsNothingInATestThatReleases 2>&1); then
        echo "$1: not noticed"
        failures=1
    elif ! printf %s "$output" | grep -q -e "$2"; then
        echo "$1: reported without \"$2\":"
        printf '%s\n' "$output" | tail -n 12
        failures=1
    fi
}

program=$1
fails object "memory: 1, descriptors: 0, objects: NSObject +1"
fails instance "memory: 2, descriptors: 0, objects: none"
fails descriptor "memory: 0, descriptors: 1, objects: none"
fails message "ERROR: AddressSanitizer"
fails release "ERROR: AddressSanitizer"
exit $failures
