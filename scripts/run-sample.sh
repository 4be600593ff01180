#!/usr/bin/env bash
# The main job on the embedded database: makes the bundled sample, shows a join and two formats, then streams,
# sorts, exports and reads back a million rows. Works in a temporary directory that goes away with it.
set -euo pipefail
build=${1:?build directory}
root=$(cd "$(dirname "$0")/.." && pwd)
bin=$(cd "$build" && pwd)/bin
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

echo "== The sample shop"
"$bin/qxsql" --create --quiet "sqlite:$work/shop.db" -f "$root/examples/shop.sql"
join='SELECT p.id AS nr, c.name AS customer, k.name AS country, t.name AS product, i.quantity AS n,
             t.price, i.discount AS off
      FROM purchase p JOIN customer c ON c.id = p.customer JOIN country k ON k.code = c.country
      JOIN purchase_item i ON i.purchase = p.id JOIN product t ON t.sku = i.sku
      ORDER BY p.id, i.line'
"$bin/qxsql" "sqlite:$work/shop.db" "$join" --aligned

echo
echo "== A table as INSERT statements for another server, and as XML that is read back"
"$bin/qxsql" "sqlite:$work/shop.db" "SELECT * FROM country" --format insert --dialect mysql --rows 0-1
"$bin/qxsql" "sqlite:$work/shop.db" "SELECT * FROM product" -o "$work/product.xml"
"$bin/qxsql" --read "$work/product.xml" --sort price:desc --columns 1,2 --rows 0-2 --aligned

echo
echo "== A million rows, streamed, sorted, exported and read back"
"$bin/tour" "$work/shop.db" "$work/million.csv" 1000000
