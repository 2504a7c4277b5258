"""Part 1.1: the company database, its Jet SQL dialect and DAO-like access."""
