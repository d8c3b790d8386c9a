// Staged imports: the description of an import whose file is still to be uploaded.
#pragma once

namespace kos {

/// Removes /tmp/mailvane.import when it cannot belong to the upload that arrives now: it is older
/// than 15 minutes, owned by another user, or no regular file. The upload is then treated as
/// unannounced.
void RemoveStaleStaging();

/// Moves aside directories with the names of the description and its temporary file. Any user can
/// make them in /tmp, and they would block replacing and removing these files.
void ClearStagingNames();

}  // namespace kos
