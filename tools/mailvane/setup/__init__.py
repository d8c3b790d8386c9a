"""mailvane-setup: makes administrators, hands the machine's mail over to the package, and back."""
