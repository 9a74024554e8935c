"""Scenario files: a day of a gateway, in TOML. docs/scenarios.md is the page about them."""
