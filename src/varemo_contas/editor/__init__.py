"""Subsystem 2: the main window `Contas`, the chart-of-accounts editor (Parts 2.1-2.7)."""
