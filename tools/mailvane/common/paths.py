"""Paths of the installed package."""
PACKAGE = "/var/packages/Mailvane"
ETC = PACKAGE + "/etc"
GENERATED = ETC + "/generated"
CURRENT = GENERATED + "/current"  # the generation in force
DOCUMENT_TOOL = PACKAGE + "/target/bin/hald_document"
CHANGES = "/run/mailvane/changes."  # and how they ended
METRICS_TOOL = PACKAGE + "/target/bin/hald_metrics"
SETTINGS_TOOL = PACKAGE + "/target/bin/hald_set_config"
