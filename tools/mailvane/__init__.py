"""The administrator's commands: mailvanectl (ctl) and mailvane-setup (setup), and the modules that
both use (common). common imports neither of the others."""
