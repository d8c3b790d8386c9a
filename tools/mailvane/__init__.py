"""What the administrator runs: mailvanectl (ctl), mailvane-setup (setup)."""
