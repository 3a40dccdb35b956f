#!/usr/bin/env bash
# The example company database builds and holds what the examples expect.
set -euo pipefail
script="$1"; out="$2"
python3 "$script" "$out" --order-lines 500
lines=$(sqlite3 "$out" 'SELECT count(*) FROM "Order Lines"')
lodz=$(sqlite3 "$out" "SELECT count(*) FROM Customers WHERE City = 'Łódź'")
orphans=$(sqlite3 "$out" 'SELECT count(*) FROM "Order Lines" l LEFT JOIN Orders o ON o.OrderID = l.OrderID WHERE o.OrderID IS NULL')
echo "order lines $lines, customers in Łódź $lodz, lines without an order $orphans"
[[ "$lines" == 500 && "$lodz" == 20 && "$orphans" == 0 ]]
