"""mailvane-setup: administrators, and the change between a machine's own mail server and ours."""
