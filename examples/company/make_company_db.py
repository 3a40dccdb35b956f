#!/usr/bin/env python3
"""Builds the example company database (SQLite): customers, products, orders
and order lines with realistic names, accents and amounts.

    make_company_db.py OUT.db [--order-lines N]

The data is the same on every run (a fixed seed). --order-lines grows the
order lines for the benchmarks (for example 1000000); orders grow with them.
"""
import argparse
import os
import random
import sqlite3

FIRST = ["Anna", "Björn", "Chloé", "Dariusz", "Élodie", "François", "Greta", "Hélène", "Ignacio", "Jürgen",
         "Katarzyna", "Luís", "Małgorzata", "Nuno", "Oğuz", "Pilar", "Quentin", "Renée", "Søren", "Tomáš"]
LAST = ["Álvarez", "Bergström", "Czajkowski", "Dubois", "Eriksen", "Fernández", "García", "Håkansson",
        "Ibáñez", "Jørgensen", "Kowalski", "Lefèvre", "Müller", "Nováková", "O'Brien", "Peña", "Quiñones",
        "Rossi", "Schröder", "Włodarczyk"]
CITIES = [("Zürich", "CH"), ("Łódź", "PL"), ("Göteborg", "SE"), ("São Paulo", "BR"), ("Kraków", "PL"),
          ("Düsseldorf", "DE"), ("Besançon", "FR"), ("Málaga", "ES"), ("Århus", "DK"), ("Brno", "CZ")]
REGIONS = {"CH": "Süd", "PL": "Ost", "SE": "Nord", "BR": "Übersee", "DE": "Mitte", "FR": "West",
           "ES": "Süd", "DK": "Nord", "CZ": "Ost"}
PRODUCTS = [("Bürostuhl Ergo", 189.00), ("Schreibtisch Eiche", 449.50), ("Lampe Café", 39.90),
            ("Aktenschrank", 229.00), ("Kaffeemaschine Crème", 129.99), ("Papier A4, 500 Blatt", 4.75),
            ("Füller Élégance", 24.50), ("Whiteboard 120×90", 89.00), ("Monitorarm Duo", 74.20),
            ("Ordner \"Standard\"", 2.95), ("Tischleuchte Øresund", 58.00), ("Notizblock; kariert", 1.85)]


def build(path, order_lines):
    if os.path.exists(path):
        os.remove(path)
    rng = random.Random(1977)
    db = sqlite3.connect(path)
    db.executescript("""
        CREATE TABLE Customers (CustomerID INTEGER PRIMARY KEY, Name TEXT NOT NULL, City TEXT, Country TEXT,
                                Region TEXT, CreditLimit NUMERIC);
        CREATE TABLE Products (ProductID INTEGER PRIMARY KEY, Name TEXT NOT NULL, UnitPrice NUMERIC NOT NULL);
        CREATE TABLE Orders (OrderID INTEGER PRIMARY KEY,
                             CustomerID INTEGER NOT NULL REFERENCES Customers(CustomerID),
                             OrderDate TEXT NOT NULL, Status TEXT);
        CREATE TABLE "Order Lines" (LineID INTEGER PRIMARY KEY, OrderID INTEGER NOT NULL REFERENCES Orders(OrderID),
                                    ProductID INTEGER NOT NULL REFERENCES Products(ProductID),
                                    Quantity INTEGER NOT NULL, Amount NUMERIC NOT NULL);
        -- The grouped example report reads orders by date and their lines in
        -- order: with these the database streams them without sorting first.
        CREATE INDEX "Orders by date" ON Orders (OrderDate, OrderID);
        CREATE INDEX "Lines by order" ON "Order Lines" (OrderID, LineID);
    """)
    customers = []
    for i in range(1, 201):
        city, country = CITIES[i % len(CITIES)]
        name = f"{rng.choice(FIRST)} {rng.choice(LAST)}"
        customers.append((i, name, city, country, REGIONS[country], rng.choice([5000, 10000, 25000, None])))
    db.executemany("INSERT INTO Customers VALUES (?,?,?,?,?,?)", customers)
    db.executemany("INSERT INTO Products VALUES (?,?,?)",
                   [(i + 1, n, p) for i, (n, p) in enumerate(PRODUCTS)])
    orders = max(1, order_lines // 4)
    db.executemany("INSERT INTO Orders VALUES (?,?,?,?)",
                   ((o, rng.randint(1, 200), f"2026-{rng.randint(1, 12):02d}-{rng.randint(1, 28):02d}",
                     rng.choice(["open", "shipped", "invoiced", None])) for o in range(1, orders + 1)))

    def lines():
        for line in range(1, order_lines + 1):
            product = rng.randint(1, len(PRODUCTS))
            quantity = rng.randint(1, 20)
            yield (line, (line - 1) % orders + 1, product, quantity, round(quantity * PRODUCTS[product - 1][1], 2))
    db.executemany('INSERT INTO "Order Lines" VALUES (?,?,?,?,?)', lines())
    db.commit()
    db.execute("ANALYZE")  # so that the planner knows to use the indexes above
    db.commit()
    db.close()


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("out")
    parser.add_argument("--order-lines", type=int, default=1000)
    args = parser.parse_args()
    build(args.out, args.order_lines)


if __name__ == "__main__":
    main()
