#!/bin/sh
# Prints the example with that number, 1 for the first, of a document: example_of.sh DOCUMENT NUMBER
awk -v wanted="$2" '/^```c$/ { inside = ++block == wanted; next } /^```$/ { inside = 0 } inside' "$1"
