"""What the administrator runs: mailvanectl (ctl), mailvane-setup (setup), and what both need
(common), which knows of neither."""
