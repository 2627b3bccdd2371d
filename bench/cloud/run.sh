#!/usr/bin/env bash
# Load on velmora-cloud with SQLite: sign-ins and settings sync reads and writes from
# 100 concurrent HTTP clients (wrk) on loopback. Prints requests/s and latency per
# operation as a Markdown table.
# Usage: bench/cloud/run.sh [path/to/velmora-cloud] [seconds per run]
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
binary="${1:-$here/../../build/server/velmora-cloud}"
seconds="${2:-10}"
command -v wrk >/dev/null || { echo "wrk is needed (apt-get install wrk)" >&2; exit 1; }

work="$(mktemp -d)"
server_pid=""
cleanup() {
    if [ -n "$server_pid" ]; then kill "$server_pid" 2>/dev/null || true; wait "$server_pid" 2>/dev/null || true; fi
    rm -rf "$work"
}
trap cleanup EXIT

QT_LOGGING_RULES="vlm.server.access=false" "$binary" --listen 127.0.0.1:0 --data "$work/data" \
    >"$work/out" 2>"$work/err" &
server_pid=$!
for _ in $(seq 100); do
    grep -q "listening on" "$work/out" 2>/dev/null && break
    sleep 0.1
done
base="$(grep -o 'http://[^ ]*' "$work/out")"
[ -n "$base" ] || { cat "$work/err" >&2; exit 1; }

export VLM_BENCH_EMAIL="bench@example.com" VLM_BENCH_PASSWORD="bench password 1"
json() { /usr/bin/python3 -c "import json,sys; print(json.load(sys.stdin)['$1'])"; }
curl -sf -X POST "$base/api/v3/account/register/code" -d "{\"email\":\"$VLM_BENCH_EMAIL\"}" >/dev/null
code="$(tail -n 1 "$work/data/mail/$VLM_BENCH_EMAIL")"
VLM_BENCH_TOKEN="$(curl -sf -X POST "$base/api/v3/account/register" -d "{\"email\":\"$VLM_BENCH_EMAIL\",\
\"username\":\"bench\",\"password\":\"$VLM_BENCH_PASSWORD\",\"code\":\"$code\"}" | json access_token)"
export VLM_BENCH_TOKEN
curl -sf -X PUT "$base/api/v3/sync/items/settings.session/default" -H "Authorization: Bearer $VLM_BENCH_TOKEN" \
    -d '{"base_revision":0,"payload":{"schema":"vlm.session-settings","version":1,"settings":{}}}' >/dev/null

run() { # name threads connections script path
    local out script=()
    [ -n "$4" ] && script=(-s "$here/$4")
    out="$(wrk -t"$2" -c"$3" -d"${seconds}s" --timeout 30s --latency "${script[@]}" "$base$5")"
    local rps p50 p99 errors
    rps="$(awk '/Requests\/sec/ {print $2}' <<<"$out")"
    p50="$(awk '$1 == "50%" {print $2}' <<<"$out")"
    p99="$(awk '$1 == "99%" {print $2}' <<<"$out")"
    errors="$(awk '/Non-2xx/ {print $5}' <<<"$out")"
    printf '| %s | %s | %s | %s | %s | %s |\n' "$1" "$3" "$rps" "$p50" "$p99" "${errors:-0}"
}

# Anchors measured in the same run: one client signing in (the cost of one Argon2id
# check, no queue), and the health endpoint (the HTTP layer with one trivial query).
echo "| Operation | Clients | Requests/s | p50 | p99 | Non-2xx |"
echo "|---|---:|---:|---:|---:|---:|"
run "login (anchor)" 1 1 login.lua /api/v3/account/login
run "login" 4 100 login.lua /api/v3/account/login
run "health (anchor)" 4 100 "" /api/v3/health
run "sync GET" 4 100 sync_get.lua /api/v3/sync/items
run "sync PUT" 100 100 sync_put.lua /api/v3/sync/items
