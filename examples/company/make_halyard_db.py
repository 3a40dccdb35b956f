#!/usr/bin/env python3
"""Builds the host's own example data (SQLite), the data source the host
calls "Halyard": its warehouses, the stock it keeps of the company's
products there, and its users.

    make_halyard_db.py OUT.db

The data is the same on every run (a fixed seed).
"""
import argparse
import os
import random
import sqlite3

WAREHOUSES = [("BER", "Berlin-Mitte"), ("GOT", "Göteborg Hamn"), ("KRK", "Kraków Płaszów")]
USERS = [("ana", "Ana Ibáñez"), ("soren", "Søren Jørgensen"), ("helene", "Hélène Lefèvre")]
PRODUCTS = 12  # as many as the company database has


def build(path):
    if os.path.exists(path):
        os.remove(path)
    rng = random.Random(4711)
    db = sqlite3.connect(path)
    db.executescript("""
        CREATE TABLE Warehouses (Code TEXT PRIMARY KEY, Name TEXT NOT NULL);
        CREATE TABLE "Stock Levels" (ProductID INTEGER NOT NULL, Warehouse TEXT NOT NULL REFERENCES Warehouses(Code),
                                     OnHand INTEGER NOT NULL, PRIMARY KEY (ProductID, Warehouse));
        CREATE TABLE Users (Login TEXT PRIMARY KEY, FullName TEXT NOT NULL);
    """)
    db.executemany("INSERT INTO Warehouses VALUES (?,?)", WAREHOUSES)
    db.executemany('INSERT INTO "Stock Levels" VALUES (?,?,?)',
                   [(p, code, rng.randint(0, 400)) for p in range(1, PRODUCTS + 1) for code, _ in WAREHOUSES
                    if rng.random() < 0.8])
    db.executemany("INSERT INTO Users VALUES (?,?)", USERS)
    db.commit()
    db.close()


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("out")
    build(parser.parse_args().out)


if __name__ == "__main__":
    main()
