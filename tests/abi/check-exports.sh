#!/bin/sh
# The exported symbols of the library equal the list in the tree; the sanitizers' own do not count.
set -eu
library=$1
list=$(dirname "$0")/exports.txt
nm -D --defined-only "$library" | awk '$3 !~ /^__/ { print $3 }' | LC_ALL=C sort | diff -u "$list" -
