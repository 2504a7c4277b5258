"""Subsystem 3: the search window `ProContas` (Part 3.1)."""
