#!/bin/sh
# Precedes every command: a sandbox answers only for its own storage. KSREGISTRY names the storage that
# mdfixup works on. If the variable is lost, that is the host's real storage, and a repair or a deletion
# would go ahead there on the answers of this simulated product.
here=${0%/*}
root=$here/../../.. # above tavrin/bin and ksde/ksconfigure
# shellcheck disable=SC3013 # dash has it, as bash and busybox do
if [ "$here" -ef "$here/../admincmd" ]; then
  root=$root/.. # one further down
fi
# shellcheck disable=SC3013
if ! [ "$KSREGISTRY" -ef "$root/etc/ksregistry.cfg" ]; then
  echo "$0: KSREGISTRY is '$KSREGISTRY', not this sandbox's etc/ksregistry.cfg:" \
    "mdfixup would work on another storage" >&2
  # As after SIGTERM. mdfixup takes an ordinary exit code of tvprocs, tvlifecycle and tvdevinfo for an
  # empty answer and goes on; it stops only after a signal.
  exit 143
fi

