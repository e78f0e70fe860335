#pragma once

#include <QList>
#include <QString>

/// Which parts of a text are prose. Pure functions.
namespace Brevio::SpellWords {

struct Word
{
    qsizetype start;
    qsizetype length;
};

/// The words of a paragraph that can be spelled wrong, in order. A word is a run of letters with
/// apostrophes (' or ’) inside. Left out are single letters, words with digits, abbreviations in
/// capitals (NASA), names with capitals inside (iPhone), everything within a verbatim chunk, and
/// scripts that are written without spaces.
[[nodiscard]] QList<Word> words(QStringView paragraph);

/// What stands between two spaces is not prose: an address, a path, a file's name, a command's
/// option, a tag, a name from a program ("www.a.org", "me@b.org", "/tmp", "a.txt", "--all", "#x").
[[nodiscard]] bool isVerbatim(QStringView chunk);

} // namespace Brevio::SpellWords
