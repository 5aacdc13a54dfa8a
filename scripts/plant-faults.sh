#!/usr/bin/env bash
# Plants known faults in the library, the plug-ins and the tool, one at a
# time, and tells which tests catch each. Run by hand, not by CI.
#
#   scripts/plant-faults.sh [options] [FAULT|AREA ...]
#
# Faults are listed in scripts/faults/<area>.faults (the format is described
# at the top of scripts/faults/README.md). With no names every fault of every
# area runs; a name may be a fault's or an area's (the file name without
# .faults).
#
# For each fault the harness changes the named lines of the source, builds,
# runs the suites that own that code (the fault's "suites:"), records which
# test functions fail, and puts the source back whatever happens, also on
# Ctrl-C. It prints one line a fault:
#   NAME: caught by SUITE (FUNCTION, ...), ...
#   NAME: NOT CAUGHT
#   NAME: DOES NOT APPLY (the lines to change are not in the source: the
#         fault must be written again)
#   NAME: DOES NOT BUILD
# The whole output also goes to build/faults/results.txt, and each fault's
# build and test output to build/faults/logs/NAME.log.
#
# Options:
#   --list          list the faults and exit
#   --show          print each fault's change as a diff instead of running it
#   --all-suites    run every suite for each fault, not only its own
#   --no-baseline   skip the first run of the suites on the untouched tree
#   --build DIR     the build folder (default build/faults)
#
# The build is the sanitizer build of CI, in a folder of its own; executables
# are not relinked when only the library changes, so a fault costs one
# compile, one library link and the suites.
set -uo pipefail
cd "$(dirname "$0")/.."
root=$PWD

build=build/faults
mode=run
all_suites=0
baseline=1
names=()
while [ $# -gt 0 ]; do
  case "$1" in
    --list) mode=list ;;
    --show) mode=show ;;
    --all-suites) all_suites=1 ;;
    --no-baseline) baseline=0 ;;
    --build) build=$2; shift ;;
    -h|--help) sed -n '2,/^set -uo/p' "$0" | sed '$d; s/^# \{0,1\}//'; exit 0 ;;
    -*) echo "plant-faults: unknown option $1" >&2; exit 2 ;;
    *) names+=("$1") ;;
  esac
  shift
done

# ---- reading the fault lists ------------------------------------------------
# Parallel arrays, one entry per fault; a fault's changes are kept as records
# "file<US>old<US>new" separated by <RS>.
US=$'\x1f'
RS=$'\x1e'
f_name=() f_area=() f_what=() f_suites=() f_changes=()

parse_list() {
  local list=$1 area line key value current=-1 file="" old="" have_old=0
  area=$(basename "$list" .faults)
  while IFS= read -r line || [ -n "$line" ]; do
    case "$line" in
      ''|'#'*) continue ;;
    esac
    if [[ $line =~ ^fault[[:space:]]+([A-Za-z0-9_.-]+)[[:space:]]*$ ]]; then
      current=${#f_name[@]}
      f_name+=("${BASH_REMATCH[1]}")
      f_area+=("$area")
      f_what+=("")
      f_suites+=("")
      f_changes+=("")
      file=""
      have_old=0
      continue
    fi
    if [ "$current" -lt 0 ]; then
      echo "plant-faults: $list: '$line' before the first 'fault NAME'" >&2
      exit 2
    fi
    # Keys are indented; the value is everything after "key: ", spaces kept.
    if [[ $line =~ ^[[:space:]]+(what|suites|file|old|new):\ ?(.*)$ ]]; then
      key=${BASH_REMATCH[1]}
      value=${BASH_REMATCH[2]}
    else
      echo "plant-faults: $list: cannot read '$line'" >&2
      exit 2
    fi
    case "$key" in
      what) f_what[$current]=$value ;;
      suites) f_suites[$current]=$value ;;
      file) file=$value ;;
      old)
        old=$value
        have_old=1
        ;;
      new)
        if [ -z "$file" ] || [ "$have_old" -ne 1 ]; then
          echo "plant-faults: $list: fault ${f_name[$current]}: 'new:' needs a 'file:' and an 'old:' before it" >&2
          exit 2
        fi
        f_changes[$current]+="$file$US$old$US$value$RS"
        have_old=0
        ;;
    esac
  done <"$list"
}

shopt -s nullglob
lists=(scripts/faults/*.faults)
if [ ${#lists[@]} -eq 0 ]; then
  echo "plant-faults: no fault lists in scripts/faults" >&2
  exit 2
fi
for list in "${lists[@]}"; do parse_list "$list"; done

# Checks: names unique, every fault complete.
declare -A seen=()
for i in "${!f_name[@]}"; do
  n=${f_name[$i]}
  if [ -n "${seen[$n]:-}" ]; then
    echo "plant-faults: fault $n is listed twice" >&2
    exit 2
  fi
  seen[$n]=1
  if [ -z "${f_what[$i]}" ] || [ -z "${f_suites[$i]}" ] || [ -z "${f_changes[$i]}" ]; then
    echo "plant-faults: fault $n needs 'what:', 'suites:' and at least one change" >&2
    exit 2
  fi
done

selected=()
if [ ${#names[@]} -eq 0 ]; then
  selected=("${!f_name[@]}")
else
  for want in "${names[@]}"; do
    found=0
    for i in "${!f_name[@]}"; do
      if [ "${f_name[$i]}" = "$want" ] || [ "${f_area[$i]}" = "$want" ]; then
        selected+=("$i")
        found=1
      fi
    done
    if [ $found -eq 0 ]; then
      echo "plant-faults: no fault or area named $want" >&2
      exit 2
    fi
  done
fi

if [ $mode = list ]; then
  for i in "${selected[@]}"; do
    printf '%-28s %-10s %s\n' "${f_name[$i]}" "${f_area[$i]}" "${f_what[$i]}"
  done
  echo "${#selected[@]} faults"
  exit 0
fi

# ---- applying and restoring -------------------------------------------------
backup=$(mktemp -d)
touched=()

restore() {
  local f
  for f in "${touched[@]}"; do
    # A plain copy gives the file a new time, so the next build compiles it
    # again and no object of the fault is left behind.
    cp "$backup/$(printf '%s' "$f" | tr / _)" "$f" &&
      rm -f "$backup/$(printf '%s' "$f" | tr / _)"
  done
  touched=()
}

cleanup() {
  restore
  rm -rf "$backup"
}
trap cleanup EXIT
trap 'echo; echo "plant-faults: stopped; the source is put back" >&2; exit 130' INT TERM HUP

# Replaces the one occurrence of OLD by NEW in FILE; fails, changing nothing,
# when OLD is not there exactly once or NEW is the same text.
replace_once() {
  OLD=$2 NEW=$3 perl -e '
    my $path = shift;
    open(my $in, "<", $path) or exit 4;
    local $/;
    my $text = <$in>;
    close $in;
    my $count = () = $text =~ /\Q$ENV{OLD}\E/g;
    exit 3 if $count != 1 || $ENV{OLD} eq $ENV{NEW};
    $text =~ s/\Q$ENV{OLD}\E/$ENV{NEW}/;
    open(my $out, ">", $path) or exit 4;
    print $out $text;
    close $out or exit 4;
  ' "$1"
}

# Applies fault $1; false (with the source put back) when a change does not apply.
apply_fault() {
  local i=$1 record file old new key
  # Records are read one by one, never split by the shell: a change may hold
  # characters that would otherwise be taken as a file-name pattern.
  while IFS= read -r -d "$RS" record; do
    IFS=$US read -r file old new <<<"$record"
    if [ ! -f "$file" ]; then
      echo "no file $file"
      restore
      return 1
    fi
    key=$(printf '%s' "$file" | tr / _)
    if [ ! -f "$backup/$key" ]; then
      cp -p "$file" "$backup/$key"
      touched+=("$file")
    fi
    if ! replace_once "$file" "$old" "$new"; then
      echo "in $file the line to change is not there exactly once: $old"
      restore
      return 1
    fi
  done < <(printf '%s' "${f_changes[$i]}")
  return 0
}

if [ $mode = show ]; then
  for i in "${selected[@]}"; do
    echo "== ${f_name[$i]} (${f_area[$i]}): ${f_what[$i]}"
    echo "   suites: ${f_suites[$i]}"
    if apply_fault "$i"; then
      git --no-pager diff --no-color -U1 -- "${touched[@]}" | sed '/^index /d; /^diff --git/d'
      restore
    fi
  done
  exit 0
fi

# ---- building and running ---------------------------------------------------
mkdir -p "$build/logs"
results=$build/results.txt
: >"$results"
say() { echo "$*" | tee -a "$results"; }

export CCACHE_BASEDIR=$root CCACHE_NOHASHDIR=1
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=0:detect_stack_use_after_return=0}
export LSAN_OPTIONS=${LSAN_OPTIONS:-suppressions=$root/scripts/lsan.supp:print_suppressions=0}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
if [ -n "${KENRO_TESTDATA:-}" ]; then
  KENRO_TESTDATA=$(realpath -m "$KENRO_TESTDATA")
  export KENRO_TESTDATA
else
  echo "plant-faults: KENRO_TESTDATA is not set: the tests on real content are skipped, and so are the faults only they catch" >&2
fi

if [ ! -f "$build/build.ninja" ]; then
  cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DKENRO_SANITIZE=ON \
    -DCMAKE_LINK_DEPENDS_NO_SHARED=ON >/dev/null || exit 1
fi

build_tree() { cmake --build "$build" >"$1" 2>&1; }

every_suite() { ctest --test-dir "$build" -N | sed -n 's/^ *Test *#[0-9]*: //p' | tr '\n' ' '; }

# Runs the suites named in $1 (all when empty), appending to log $2; prints
# "SUITE (FUNCTION, ...)" for each suite that failed.
run_suites() {
  local suites=$1 log=$2 regex out
  if [ -n "$suites" ]; then
    regex="^($(echo "$suites" | xargs | tr ' ' '|'))\$"
  else
    regex='.*'
  fi
  out=$(ctest --test-dir "$build" -R "$regex" -j "$(nproc)" --output-on-failure 2>&1)
  printf '%s\n' "$out" >>"$log"
  if ! grep -qE '^ *[0-9]+/[0-9]+ Test +#' <<<"$out"; then
    echo "(no suite named: $suites)"
    return
  fi
  # Failed suites from ctest's summary; failing functions from QtTest's lines.
  local suite functions
  while read -r suite; do
    [ -n "$suite" ] || continue
    # ctest prints a failed suite's output after its result line.
    functions=$(awk -v s="$suite" '
      $0 ~ "^ *[0-9]+/[0-9]+ Test +#[0-9]+: " s " " { on = 1; next }
      $0 ~ "^ *[0-9]+/[0-9]+ Test +#" { on = 0 }
      on && /^FAIL! +: / { sub(/^FAIL! +: [^:]*::/, ""); sub(/\(.*/, ""); print }
    ' <<<"$out" | sort -u | head -8 | paste -sd, - | sed 's/,/, /g')
    if [ -z "$functions" ]; then
      functions=$(grep -E "^ *[0-9]+/[0-9]+ Test +#[0-9]+: $suite " <<<"$out" |
        grep -oE '(\*\*\*Failed|Subprocess aborted|SEGFAULT|\*\*\*Timeout|Exception:[^0-9]*)' | head -1 |
        sed 's/\*\*\*//; s/Failed/failed without a QtTest line/; s/ *$//')
    fi
    echo "$suite ($functions)"
  done < <(sed -n '/The following tests FAILED:/,$p' <<<"$out" |
    sed -nE 's/^[[:space:]]*[0-9]+ - ([A-Za-z0-9_]+) .*/\1/p')
}

echo "plant-faults: building the untouched tree in $build"
if ! build_tree "$build/logs/baseline-build.log"; then
  echo "plant-faults: the untouched tree does not build (see $build/logs/baseline-build.log)" >&2
  exit 1
fi
if [ $baseline -eq 1 ]; then
  base_suites=""
  if [ $all_suites -eq 0 ]; then
    base_suites=$(for i in "${selected[@]}"; do echo "${f_suites[$i]}"; done | xargs -n1 | sort -u | xargs)
  fi
  echo "plant-faults: running the suites on the untouched tree"
  failing=$(run_suites "$base_suites" "$build/logs/baseline.log")
  if [ -n "$failing" ]; then
    echo "plant-faults: suites fail without any fault, so nothing can be told: $failing" >&2
    echo "plant-faults: see $build/logs/baseline.log" >&2
    exit 1
  fi
fi

caught=0
missed=0
broken=0
for i in "${selected[@]}"; do
  name=${f_name[$i]}
  log=$build/logs/$name.log
  echo "== $name: ${f_what[$i]}" >"$log"
  if ! apply_fault "$i" >>"$log"; then
    say "$name: DOES NOT APPLY ($(tail -n 1 "$log"))"
    broken=$((broken + 1))
    continue
  fi
  git --no-pager diff --no-color -- "${touched[@]}" >>"$log"
  if ! build_tree "$build/logs/$name.build.log"; then
    cat "$build/logs/$name.build.log" >>"$log"
    rm -f "$build/logs/$name.build.log"
    restore
    say "$name: DOES NOT BUILD (see $log)"
    broken=$((broken + 1))
    continue
  fi
  rm -f "$build/logs/$name.build.log"
  suites=${f_suites[$i]}
  [ $all_suites -eq 1 ] && suites=""
  failing=$(run_suites "$suites" "$log")
  restore
  if [ -n "$failing" ]; then
    say "$name: caught by $(paste -sd';' - <<<"$failing" | sed 's/;/; /g')"
    caught=$((caught + 1))
  else
    say "$name: NOT CAUGHT"
    missed=$((missed + 1))
  fi
done

# The last fault's objects are rebuilt from the restored source, so that the
# folder is ready for the next run.
build_tree "$build/logs/final-build.log" || true
say "plant-faults: ${#selected[@]} faults: $caught caught, $missed not caught, $broken not planted"
