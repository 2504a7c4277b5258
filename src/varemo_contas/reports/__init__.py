"""Subsystem 4: period, totals, report definitions, the two reports and their preview (Parts 4.1-4.6)."""  # noqa: E501
