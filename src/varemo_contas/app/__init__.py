"""Subsystem 1: start-up and shutdown, process-wide state, error log, desktop services."""
