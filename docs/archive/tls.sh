#!/bin/sh
# Makes the certificates of an archive's cluster: an authority, and one certificate that scheduler, workers and clients
# share. Whoever has cluster.key may run anything on the workers; hand it to nobody else.
#   docs/archive/tls.sh FOLDER [DAYS]
set -eu
folder=$1
days=${2:-365}
umask 077
mkdir -p "$folder"
cd "$folder"
openssl req -x509 -newkey rsa:3072 -nodes -days "$days" -subj "/CN=archive authority" -keyout ca.key -out ca.pem 2>/dev/null
openssl req -newkey rsa:3072 -nodes -subj "/CN=archive" -keyout cluster.key -out cluster.csr 2>/dev/null
openssl x509 -req -in cluster.csr -CA ca.pem -CAkey ca.key -CAcreateserial -days "$days" -out cluster.pem 2>/dev/null
rm cluster.csr
echo "ca.pem, cluster.pem and cluster.key go to every machine; ca.key stays here"
