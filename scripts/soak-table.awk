# The ledgers and footprints of all clients as a table; exit status 1 where one of them has grown. A client keeps 64 bytes
# for each launch that was accepted, for as long as it runs: there may be another result. The slack is what the caches of
# GLib and SQLite still take after the warm-up, and the descriptors and threads of a link that has just been made anew.
FNR == 1 { ++client }
$1 == "ledger" {
  count = $2; sub(/^ledger [0-9]+ /, ""); all[$0] += count; of[$0, client] = count
}
$1 == "footprint" {
  for (i = 2; i < NF; i += 2) foot[$i, client, seen[client] + 0] = $(i + 1)
  ++seen[client]
}
function row(name, i) { printf "%-62s", name; for (i = 1; i <= client; ++i) printf "%9s", of[name, i] + 0 }
function check(what, slack, i, grown, allowed) {
  printf "%-62s", what " (at most +" slack ")"
  for (i = 1; i <= client; ++i) {
    grown = foot[what, i, 1] - foot[what, i, 0]
    allowed = slack + (what == "heap" ? 64 : what == "rss" ? 64 / 1024 : 0) * \
      (foot["accepted", i, 1] - foot["accepted", i, 0])
    printf "%9s", (grown < 0 ? "" : "+") grown
    if (seen[i] != 2 || grown > allowed) { bad = 1; printf "!" }
  }
  printf "%9s\n", foot[what, 1, 0]
}
END {
  n = 0
  for (name in all) if (name != "WRONG") names[++n] = name
  for (i = 1; i <= n; ++i) for (j = i + 1; j <= n; ++j) if (names[j] < names[i]) {
    swap = names[i]; names[i] = names[j]; names[j] = swap
  }
  names[++n] = "WRONG"
  printf "%-62s", "ending, by client"
  for (i = 1; i <= client; ++i) printf "%9s", i
  printf "%9s\n", "all"
  for (i = 1; i <= n; ++i) { row(names[i]); printf "%9s\n", all[names[i]] + 0 }
  printf "\n%-62s", "growth from the warm-up to the end"
  for (i = 1; i <= client; ++i) printf "%9s", i
  printf "%9s\n", "1 before"
  check("threads", 2); check("descriptors", 8); check("heap", 524288); check("rss", 2048)
  exit bad
}
