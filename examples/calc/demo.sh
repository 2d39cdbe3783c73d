#!/bin/sh
# Shows the calculator at work: demo.sh ZCALC DATA_DIRECTORY
set -eu
zcalc=$1
data=$2

show() {
  printf '\n$ zcalc'
  for argument; do
    case $argument in
      *[!A-Za-z0-9_./-]*) printf ' "%s"' "$argument" ;;
      *) printf ' %s' "$argument" ;;
    esac
  done
  printf '\n'
  "$zcalc" "$@"
}

printf '%s\n' "Kepler's third law: the square of the orbital period over the cube of the semi-major axis" \
  '(days, astronomical units) is nearly the same for all that circles the Sun.'
show 'period^2 / axis^3' --data "$data/planets.csv"

printf '\n%s\n' 'Ten million numbers, with the time and the memory that they take.'
show 'x = range(10^7); sin(x)^2 + cos(x)^2' --rows 3 --digits 17 --time --memory
