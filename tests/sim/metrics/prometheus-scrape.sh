#!/usr/bin/env bash
# A real Prometheus server scrapes the simulator's metrics endpoint: a reader serving a state
# database, and a writer changing that database meanwhile. What Prometheus stored must be what the
# simulator's own views (show ... json) say, in the reader before and after the writer's commands
# and in the writer. Every wait is bounded; everything started here is killed on exit.
#   prometheus-scrape.sh <macsec-index-sim>      exit status 77: skipped (a tool is missing)
set -euo pipefail
sim=$1
for tool in prometheus promtool curl jq; do
  if ! command -v "$tool" > /dev/null; then
    echo "SKIP: $tool is not installed (scripts/deps prometheus curl jq installs it)"
    exit 77
  fi
done

work=$(mktemp -d)
pids=()
cleanup() {
  for pid in "${pids[@]}"; do kill "$pid" 2> /dev/null || true; done
  wait 2> /dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT
fail() {
  echo "FAIL: $*" >&2
  exit 1
}

# Runs "$@" every 0.2 s until it succeeds, for at most 30 s.
within_30s() {
  for _ in $(seq 150); do
    if "$@"; then return 0; fi
    sleep 0.2
  done
  return 1
}
# A port of 127.0.0.1 that nothing listens on (a connection to it is refused).
free_port() {
  local port
  while :; do
    port=$((20000 + RANDOM % 30000))
    if ! (exec 3<> "/dev/tcp/127.0.0.1/$port") 2> /dev/null; then
      echo "$port"
      return
    fi
  done
}
serving() { curl -sf -o /dev/null --max-time 2 "http://127.0.0.1:$1$2"; }
running() { kill -0 "$1" 2> /dev/null; }
# Waits until the process $1 serves $3 on port $2; fails, with its log $4, if it stops first.
await_serving() {
  within_30s bash -c "$(declare -f serving running); serving $2 $3 || ! running $1" ||
    fail "nothing served at port $2 within 30 s"
  running "$1" || fail "the process serving port $2 stopped: $(cat "$4")"
}

# The samples the views of a --json transcript show, one "name labels value" line each, as the
# metrics must give them.
view_samples() {
  jq -r 'if .utilization then .utilization[] | . as $t
           | {used: "used", free: "free", max_limit: "max-limit", high_watermark: "high-watermark",
              threshold_exceeded: "used-threshold-upper-exceeded"} | to_entries[]
           | "macsec_index_table_\(.key) fap=\($t.fap),engine=\($t.engine),table=\($t.table) " +
             ($t[.value] | if type == "boolean" then (if . then "1" else "0" end) else tostring end)
         elif .summary then .summary[] | "macsec_index_refused_interfaces fap=\(.fap) \(.refused)"
         else empty end' "$1"
}
# The samples Prometheus holds now for the job $1, in the same form, counters as "counted" (they
# are compared across jobs by same_counters).
stored_samples() {
  curl -sf --max-time 5 "http://127.0.0.1:$prometheus_port/api/v1/query" \
    --data-urlencode "query={__name__=~\"macsec_index_.+\",job=\"$1\"}" |
    jq -r '.data.result[] | .metric as $m
      | "\($m.__name__) \([["fap", "engine", "table"][] | select($m[.]) | "\(.)=\($m[.])"] | join(","))"
        + " " + (if ($m.__name__ | endswith("_total")) then "counted" else .value[1] end)'
}
# Whether Prometheus holds for job $1 exactly the samples of file $2.
stored_as() { diff <(sort "$2") <(stored_samples "$1" | sort) > "$work/diff"; }
# The counters' values Prometheus holds for job $1.
counters() {
  curl -sf --max-time 5 "http://127.0.0.1:$prometheus_port/api/v1/query" \
    --data-urlencode "query={__name__=~\"macsec_index_.+_total\",job=\"$1\"}" |
    jq -r '.data.result[] | "\(.metric.__name__) \(.value[1])"' | sort
}
# Whether the reader and the writer, reading one database, count alike: $1 threshold events.
same_counters() {
  counters reader > "$work/reader-counters"
  counters writer > "$work/writer-counters"
  diff "$work/reader-counters" "$work/writer-counters" > "$work/diff" &&
    grep -q "^macsec_index_threshold_events_total $1$" "$work/writer-counters"
}
# The counters' lines of an expectation: compared across jobs by same_counters.
counted() {
  printf '%s\n' "macsec_index_threshold_events_total  counted" \
    "macsec_index_committed_changes_total  counted"
}
# The samples of a read-only simulator's views of the database, counters "counted".
reader_expects() {
  printf 'show utilization json\nshow summary json\n' |
    timeout 20 "$sim" --json --state "$work/s.db" --read-only > "$work/reader-views.jsonl"
  { view_samples "$work/reader-views.jsonl" && counted; } > "$1"
}

# The state the reader starts from: FAP 1 is one entry short, so Ethernet4 is refused.
printf '%s\n' "chip 1 isec-disabled=4 esec-disabled=4" "fap add 1 Ethernet1-4" \
  "macsec on Ethernet1-4" "chip 2 engines=2 isec-disabled=8" "fap add 2 Ethernet5-8" \
  "macsec on Ethernet5-8" > "$work/first.scn"
timeout 20 "$sim" --state "$work/s.db" "$work/first.scn" > "$work/first.out" ||
  fail "the first writer failed: $(cat "$work/first.out")"

reader_port=$(free_port)
"$sim" --state "$work/s.db" --read-only --metrics "127.0.0.1:$reader_port" < /dev/null \
  > "$work/reader.out" 2>&1 &
reader=$!
pids+=("$reader")
await_serving "$reader" "$reader_port" /metrics "$work/reader.out"

# A second server on the same port, and an endpoint that is no endpoint, are refused clearly.
status=0
timeout 10 "$sim" --state "$work/s.db" --read-only --metrics "127.0.0.1:$reader_port" \
  < /dev/null > "$work/second.out" 2>&1 || status=$?
[ "$status" = 1 ] && grep -q "error: cannot serve metrics at 127.0.0.1:$reader_port" "$work/second.out" ||
  fail "a second server on port $reader_port: exit status $status, $(cat "$work/second.out")"
status=0
timeout 10 "$sim" --metrics localhost < /dev/null > "$work/usage.out" 2>&1 || status=$?
[ "$status" = 2 ] && grep -q "expected <host>:<port>" "$work/usage.out" ||
  fail "--metrics localhost: exit status $status, $(cat "$work/usage.out")"

writer_port=$(free_port)
prometheus_port=$(free_port)
while [ "$prometheus_port" = "$writer_port" ]; do prometheus_port=$(free_port); done
cat > "$work/prometheus.yml" << EOF
global: {scrape_interval: 1s, scrape_timeout: 1s}
scrape_configs:
  - {job_name: reader, static_configs: [{targets: ["127.0.0.1:$reader_port"]}]}
  - {job_name: writer, static_configs: [{targets: ["127.0.0.1:$writer_port"]}]}
EOF
prometheus --config.file="$work/prometheus.yml" --storage.tsdb.path="$work/tsdb" \
  --web.listen-address="127.0.0.1:$prometheus_port" --log.level=warn > "$work/prometheus.log" 2>&1 &
pids+=($!)
await_serving "$!" "$prometheus_port" /-/ready "$work/prometheus.log"

reader_expects "$work/before"
grep -q 'refused_interfaces fap=1 1$' "$work/before" || fail "Ethernet4 is not refused: $(cat "$work/before")"
within_30s stored_as reader "$work/before" ||
  fail "Prometheus's samples of the reader differ from its views:$(cat "$work/diff")"

# The writer frees an entry and retries the refused interface, its commands coming through a FIFO
# so that it serves while they run.
mkfifo "$work/commands"
"$sim" --json --state "$work/s.db" --metrics "127.0.0.1:$writer_port" < "$work/commands" \
  > "$work/writer.jsonl" 2> "$work/writer.err" &
writer=$!
pids+=("$writer")
exec 3> "$work/commands"
printf '%s\n' "macsec off Ethernet1" "macsec retry" "threshold all upper=50 clear=40" "show utilization json" \
  "show summary json" >&3
await_serving "$writer" "$writer_port" /metrics "$work/writer.err"
within_30s grep -q '"summary"' "$work/writer.jsonl" || fail "the writer did not show its summary"
{ view_samples "$work/writer.jsonl" && counted; } > "$work/writer-expected"
grep -q "table_used fap=1,engine=0,table=EsecScTable 4$" "$work/writer-expected" ||
  fail "the writer's view is not as the scenario makes it: $(cat "$work/writer-expected")"
within_30s stored_as writer "$work/writer-expected" ||
  fail "Prometheus's samples of the writer differ from its views:$(cat "$work/diff")"

reader_expects "$work/after"
grep -q 'refused_interfaces fap=1 0$' "$work/after" || fail "Ethernet4 is still refused: $(cat "$work/after")"
within_30s stored_as reader "$work/after" ||
  fail "Prometheus's samples of the reader differ from its views after the writer's commands:$(cat "$work/diff")"
# Both count what every writer of the database did: the first writer's events and the second's.
events=$(($(grep -c THRESHOLD_ "$work/first.out" || true) + $(jq -s '[.[] | select(.event)] | length' "$work/writer.jsonl")))
echo "threshold events of both writers: $events"
within_30s same_counters "$events" ||
  fail "the reader's and the writer's counters differ, or not $events events:$(cat "$work/diff" "$work/writer-counters")"

for port in "$reader_port" "$writer_port"; do
  curl -sf --max-time 5 "http://127.0.0.1:$port/metrics" > "$work/scrape"
  promtool check metrics < "$work/scrape" || fail "promtool finds fault with the metrics of port $port"
done

# The writer stops serving when its commands end; the reader ends cleanly at SIGTERM.
exec 3>&-
within_30s bash -c "! kill -0 $writer 2> /dev/null" || fail "the writer did not end with its input"
wait "$writer" || fail "the writer ended with exit status $?: $(cat "$work/writer.err")"
! serving "$writer_port" /metrics || fail "port $writer_port still serves after the writer ended"
kill -TERM "$reader"
within_30s bash -c "! kill -0 $reader 2> /dev/null" || fail "the reader did not end at SIGTERM"
wait "$reader" || fail "the reader ended at SIGTERM with exit status $?"
echo "Prometheus scraped the reader and the writer; their samples match the views"
