# To be sourced by the tests of checks: a small project in $project, and faults that are planted there one at a time.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
project=$work/c++    # no check may take its path for a regular expression
mkdir "$project"
cd "$project"

picture() {
  tar -C "$1" --sort=name --mtime=@0 -c . | cksum
}

planted() {
  printf '%s: %s\n%s\n' "$@"
  exit 1
}

# passes COMMAND...
passes() {
  local output
  output=$("$@" 2>&1) || planted 'refused' "$*" "$output"
}

# refuses MESSAGES PLANT COMMAND...: once PLANT, commands of the shell, has been done, the command fails and prints each
# line of MESSAGES.
refuses() {
  local messages=$1 plant=$2 message output
  shift 2
  cp -a "$project" "$work/kept"
  eval "$plant"
  [ "$(picture "$project")" != "$(picture "$work/kept")" ] || planted 'changes nothing' "$plant" ''
  if output=$("$@" 2>&1); then planted 'accepted' "$plant" "$output"; fi
  while read -r message; do
    grep -q -F -e "$message" <<<"$output" || planted "says nothing of \"$message\"" "$plant" "$output"
  done <<<"$messages"
  cd "$work"
  rm -rf "$project"
  mv "$work/kept" "$project"
  cd "$project"
}
