#!/bin/bash
# A scheduler, workers and the run itself as one job.
#   sbatch docs/archive/slurm.sh RUN.toml TLS-FOLDER
#SBATCH --job-name=archive
#SBATCH --ntasks=33
#SBATCH --cpus-per-task=1
#SBATCH --mem-per-cpu=2G
#SBATCH --time=12:00:00
#SBATCH --signal=B:TERM@120
set -eu
recipe=$1
tls=$2
address="tls://$(hostname):8786"
files="--tls-ca-file $tls/ca.pem --tls-cert $tls/cluster.pem --tls-key $tls/cluster.key"
export DASK_DISTRIBUTED__SCHEDULER__ALLOWED_FAILURES=0
dask scheduler --protocol tls --port 8786 --no-dashboard $files &
srun --ntasks=$((SLURM_NTASKS - 1)) --kill-on-bad-exit=0 \
  dask worker "$address" --nworkers 1 --nthreads 1 --memory-limit "${SLURM_MEM_PER_CPU:-2048}MB" \
  --no-dashboard --local-directory "${TMPDIR:-/tmp}" --death-timeout 60 $files &
# Two minutes before its time is over the job is told to stop: what is evaluated is kept, and the same job goes on.
python -m umlauf archive "$recipe" --scheduler "$address" --quiet &
run=$!
trap 'kill -TERM $run' TERM
status=0
wait $run || status=$?
wait $run 2>/dev/null || status=$?
kill $(jobs -p) 2>/dev/null || true
exit $status
