"""What mailvanectl and mailvane-setup share."""
