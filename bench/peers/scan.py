"""scan.py CATALOG: the case scan as an operator would write it."""

import os
import sqlite3
import sys


def has_other_case(database, client):
    folded = client.lower()
    length = len(client)
    found = False
    for (name,) in database.execute("SELECT basename FROM po ORDER BY basename"):
        if not name.startswith(client) and name[:length].lower() == folded:
            found = True
    return found


def main(catalog):
    root = os.path.join(catalog, "2")
    for client in os.listdir(root):
        for policy in os.listdir(os.path.join(root, client)):
            file = os.path.join(root, client, policy, "po.db")
            database = sqlite3.connect(f"file:{file}?mode=ro", uri=True)
            if has_other_case(database, client):
                print(f"Client {client} has name case-sensitivity issues.")
            database.close()


main(sys.argv[1])
