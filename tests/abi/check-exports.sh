#!/bin/sh
# The exported symbols of a library equal its list in this folder; the sanitizers' own do not count.
set -eu
library=$1
list=$(dirname "$0")/$2
nm -D --defined-only "$library" | awk '$3 !~ /^__/ { print $3 }' | LC_ALL=C sort | diff -u "$list" -
