#pragma once

#include "git/GitRecordFields.h"
#include "index/RepositoryIndex.h"

namespace strataloom {

// The snapshot's fields in order, as git/GitRecordFields.h lists the git records'. The command
// line's index report and the application's snapshot property are both written from it.
template<RecordOf<RepositoryIndexSnapshot> R, typename Visit>
void visitFields(R &record, Visit &&visit)
{
    visit("commits", record.commits);
    visit("authors", record.authors);
    visit("files", record.files);
    visit("changes", record.changes);
    visit("refs", record.refs);
    visit("lastIndexedAt", record.lastIndexedAt);
}

} // namespace strataloom
