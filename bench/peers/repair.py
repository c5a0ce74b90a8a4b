"""repair.py CATALOG: the case repair as an operator would write it."""

import os
import sqlite3
import sys

SCHEMA = """CREATE TABLE IF NOT EXISTS po (basename TEXT NOT NULL UNIQUE, poid TEXT NOT NULL,
    size INTEGER NOT NULL, mtime INTEGER NOT NULL, record BLOB NOT NULL)"""


def names_out_of_place(source, client):
    groups = {}
    condition = "basename NOT GLOB ? ORDER BY basename"
    for (name,) in source.execute(f"SELECT basename FROM po WHERE {condition}", (client + "*",)):
        spelling = name[:len(client)]
        if spelling.lower() == client.lower():
            groups.setdefault(spelling, []).append(name)
    return groups


def move(source, target, name):
    row = source.execute("SELECT * FROM po WHERE basename = ?", (name,)).fetchone()
    there = target.execute("SELECT poid FROM po WHERE basename = ?", (name,)).fetchone()
    if there is None or there[0] == row[1]:
        target.execute("INSERT OR REPLACE INTO po VALUES (?, ?, ?, ?, ?)", row)
        source.execute("DELETE FROM po WHERE basename = ?", (name,))


def move_group(source, target_dir, names):
    os.makedirs(target_dir, exist_ok=True)
    target = sqlite3.connect(os.path.join(target_dir, "po.db"), isolation_level=None)
    target.execute("PRAGMA synchronous = EXTRA")
    target.execute("BEGIN IMMEDIATE")
    target.execute(SCHEMA)
    target.execute("PRAGMA user_version = 1")
    source.execute("BEGIN IMMEDIATE")
    for name in names:
        move(source, target, name)
    target.execute("COMMIT")
    source.execute("COMMIT")
    target.close()


def main(catalog):
    root = os.path.join(catalog, "2")
    for client in os.listdir(root):
        for policy in os.listdir(os.path.join(root, client)):
            source = sqlite3.connect(os.path.join(root, client, policy, "po.db"),
                                     isolation_level=None)
            for spelling, names in names_out_of_place(source, client).items():
                move_group(source, os.path.join(root, spelling, policy), names)
            source.close()


main(sys.argv[1])
