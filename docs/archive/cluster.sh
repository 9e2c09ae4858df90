#!/bin/sh
# A scheduler on this machine and workers on others, reached by ssh; ends with Ctrl-C.
#   docs/archive/cluster.sh TLS-FOLDER WORKERS-PER-HOST HOST ...
# Each host has the package, the recordings and the folder of certificates under the same paths.
set -eu
tls=$1
workers=$2
shift 2
address="tls://${SCHEDULER_HOST:-$(hostname -f)}:${SCHEDULER_PORT:-8786}"
files="--tls-ca-file $tls/ca.pem --tls-cert $tls/cluster.pem --tls-key $tls/cluster.key"
pids=
trap 'kill $pids 2>/dev/null || true; wait' EXIT INT TERM
# A worker that dies is told at once: how often its recordings are tried is for the run to say.
DASK_DISTRIBUTED__SCHEDULER__ALLOWED_FAILURES=0 \
  dask scheduler --protocol tls --port "${SCHEDULER_PORT:-8786}" --no-dashboard $files & pids=$!
for host in "$@"; do
  ${SSH:-ssh} "$host" dask worker "$address" --nworkers "$workers" --nthreads 1 --memory-limit auto \
    --no-dashboard --local-directory /tmp $files & pids="$pids $!"
done
echo "scheduler = \"$address\""
wait
