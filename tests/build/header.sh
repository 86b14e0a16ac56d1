#!/bin/bash
# header.sh HEADER LANGUAGE STANDARD COMPILER [FLAG...]: a header compiles alone, and twice over.
set -euo pipefail

header=$1 language=$2 standard=$3
shift 3
printf '#include "%s"\n#include "%s"\n' "$header" "$header" |
    "$@" -x "$language" -std="$standard" -fsyntax-only -Wall -Wextra -pedantic -Werror -
