"""consistency.py dry_run|deletion CATALOG QUERY DISK_POOL: the comparison with the backup catalog
as an operator would write it."""

import os
import sqlite3
import subprocess
import sys
import time


def copies_in(database, client):
    copies = set()
    prefix = client + "_"
    for (name,) in database.execute("SELECT basename FROM po ORDER BY basename"):
        if name.startswith(prefix):
            parts = name[len(prefix):].split("_")
            copies.add((int(parts[0]), int(parts[1][1:])))
    return copies


def listed(query, pool, *filters):
    """Client, policy, time and copy of each copy that the backup catalog lists."""
    hours = str(int(time.time()) // 3600 + 1)
    child = subprocess.Popen([query, *filters, "-hoursago", hours], stdout=subprocess.PIPE,
                             stderr=subprocess.STDOUT, text=True)
    copies = set()
    for line in child.stdout:
        fields = line.split()
        if fields[0] == "IMAGE":
            client, policy, backup_time = fields[1], fields[6], int(fields[13])
        elif fields[0] == "FRAG" and fields[15].split(";")[3] == pool:
            copies.add((client, policy, backup_time, int(fields[1])))
    if child.wait() not in (0, 227):
        sys.exit("the query failed")
    return copies


def print_missing(copies):
    for client, policy, backup_time, copy in sorted(copies):
        print(f"{client}_{backup_time}|{client}|{policy}|{copy}|")


def visit(file, client, policy, delete, query, pool):
    mode = "rw" if delete else "ro"
    database = sqlite3.connect(f"file:{file}?mode={mode}", uri=True, isolation_level=None)
    held = {(client, policy, *copy) for copy in copies_in(database, client)}
    catalog = listed(query, pool, "-client", client, "-policy", policy)
    print_missing(catalog - held)
    for _, _, backup_time, copy in sorted(held - catalog):
        print(f"{{client: {client}, policy: {policy}, backup_time: {backup_time}, "
              f"copy_number: {copy}}}.")
        if delete:
            database.execute("DELETE FROM po WHERE basename LIKE ?",
                             (f"{client}_{backup_time}_C{copy}%",))
    database.close()


def main(task, catalog, query, pool):
    root = os.path.join(catalog, "2")
    visited = set()
    for client in os.listdir(root):
        for policy in os.listdir(os.path.join(root, client)):
            file = os.path.join(root, client, policy, "po.db")
            visit(file, client, policy, task == "deletion", query, pool)
            visited.add((client, policy))
    print_missing(copy for copy in listed(query, pool) if copy[:2] not in visited)


main(*sys.argv[1:])
