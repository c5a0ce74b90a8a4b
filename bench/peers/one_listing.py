"""one_listing.py dry_run|deletion CATALOG QUERY DISK_POOL: the comparison with one listing of
the whole backup catalog, as an operator would write it.

Copies are named by the beginning of their basenames, CLIENT_TIME_CNUMBER, in bytes: decoding the
listing would take longer than comparing it."""

import os
import sqlite3
import subprocess
import sys
import time


def connect(root, pair, mode):
    file = os.fsdecode(os.path.join(root, *pair, b"po.db"))
    database = sqlite3.connect(f"file:{file}?mode={mode}", uri=True)
    database.text_factory = bytes
    return database


def copies_in(database, client):
    prefix = client + b"_"
    skipped = len(prefix)
    return {name[:name.index(b"_", name.index(b"_", skipped) + 1)]
            for (name,) in database.execute("SELECT basename FROM po") if name.startswith(prefix)}


def all_held(root):
    """The copies in each directory's database, by client and policy."""
    held = {}
    for client in os.listdir(root):
        for policy in os.listdir(os.path.join(root, client)):
            database = connect(root, (client, policy), "ro")
            held[client, policy] = copies_in(database, client)
            database.close()
    return held


def all_listed(query, pool):
    """The copies that the backup catalog lists, by client and policy."""
    hours = str(int(time.time()) // 3600 + 1)
    child = subprocess.Popen([query, "-hoursago", hours], stdout=subprocess.PIPE,
                             stderr=subprocess.STDOUT, bufsize=1 << 20)
    listed = {}
    for line in child.stdout:
        fields = line.split(b" ", 16)
        if fields[0] == b"IMAGE":
            image = b"%s_%s_C" % (fields[1], fields[13])
            copies = listed.setdefault((fields[1], fields[6]), set())
        elif fields[0] == b"FRAG" and fields[15].split(b";", 4)[3] == pool:
            copies.add(image + fields[1])
    if child.wait() not in (0, 227):
        sys.exit("the query failed")
    return listed


def print_missing(client, policy, copies):
    for copy in sorted(copies):
        image, number = copy.rsplit(b"_C", 1)
        sys.stdout.buffer.write(b"%s|%s|%s|%s|\n" % (image, client, policy, number))


def print_orphans(client, policy, copies):
    for copy in sorted(copies):
        backup_time, number = copy[len(client) + 1:].split(b"_C")
        sys.stdout.buffer.write(
            b"{client: %s, policy: %s, backup_time: %s, copy_number: %s}.\n"
            % (client, policy, backup_time, number))


def delete_orphans(database, copies):
    with database:
        database.executemany("DELETE FROM po WHERE basename LIKE ?",
                             [(os.fsdecode(copy) + "%",) for copy in copies])
    database.close()


def main(task, catalog, query, pool):
    root = os.path.join(os.fsencode(catalog), b"2")
    held = all_held(root)
    listed = all_listed(query, os.fsencode(pool))
    for pair in held.keys() | listed.keys():
        here, there = held.get(pair, set()), listed.get(pair, set())
        print_missing(*pair, there - here)
        orphans = here - there
        print_orphans(*pair, orphans)
        if orphans and task == "deletion":
            delete_orphans(connect(root, pair, "rw"), orphans)


main(*sys.argv[1:])
