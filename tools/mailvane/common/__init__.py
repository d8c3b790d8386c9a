"""Modules that mailvanectl and mailvane-setup share."""
