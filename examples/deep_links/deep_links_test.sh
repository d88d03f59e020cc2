#!/bin/sh
# Launches the application, and again while it runs, with a deep link and without one.
#   deep_links_test.sh PROGRAM
# Without a session around it, it starts one whose catalogue has the program.
set -eu
program=$(realpath "$1")
if [ -z "${DEEP_LINKS_LOG-}" ]; then
  directory=$(mktemp -d)
  trap 'rm -rf "$directory"' EXIT
  printf '{"apps": [{"id": "org.example.links", "title": "Links", "install_path": "%s"}]}' "$program" >"$directory/catalogue.json"
  DEEP_LINKS_LOG=$directory/log nuv-session --seed "$directory/catalogue.json" -- sh "$0" "$program"
  exit
fi
rm -f "$DEEP_LINKS_LOG"
# wait_for LINE
wait_for() {
  tries=0
  until grep -q -x -F "$1" "$DEEP_LINKS_LOG" 2>/dev/null; do
    tries=$((tries + 1))
    [ $tries -lt 400 ] || { echo "not told: $1"; exit 1; }
    sleep 0.05
  done
  echo "$1"
}
nuvctl launch org.example.links --webapp --payload page=1 --wait 20
wait_for 'started with page=1'
nuvctl launch org.example.links --webapp --deep-link --payload page=2 --wait 20
wait_for 'again with page=2'
nuvctl launch org.example.links --webapp --payload page=3 --wait 20
wait_for 'again with page=3'
