"""mailvanectl. Every start pays for what is imported: modules load what they need where they need it."""
