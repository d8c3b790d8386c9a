"""mailvanectl. Imports cost time at every start, so modules import what only some calls need where
they need it."""
