"""Plano de Contas: the chart-of-accounts module of the Varemo suite."""
