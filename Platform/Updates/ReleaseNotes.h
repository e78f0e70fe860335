#pragma once

#include <QString>

namespace Platform {

/// The text of release notes that may be HTML: paragraphs and list items are lines, other mark-up,
/// comments, styles and scripts are gone. Notes without a tag stay as they are. Takes time in
/// proportion to the length, whatever the notes are. Any thread.
[[nodiscard]] QString releaseNotesText(const QString &notes);

} // namespace Platform
