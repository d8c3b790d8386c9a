// The description of an import that waits for its upload.
#pragma once

namespace kos {

/// Removes /tmp/mailvane.import when the upload that arrives now cannot belong to it: when it was
/// staged more than 15 minutes ago, belongs to somebody else or is no plain file. The upload is
/// then answered as one that was never staged.
void RemoveStaleStaging();

/// Moves directories away that have the name of the description or of its draft: everybody can make
/// them in /tmp, and the program could neither replace nor remove them.
void ClearStagingNames();

}  // namespace kos
