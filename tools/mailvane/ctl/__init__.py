"""mailvanectl. Every start pays for what is imported: modules load what only some calls need
there."""
