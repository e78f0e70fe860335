#include "Brevio/Notes/ConflictCopies.h"

#include <QRegularExpression>

namespace Brevio::ConflictCopies {

using namespace Qt::StringLiterals;

namespace {

/// What comes between "notes" and ".json", once or more: a copy of a copy has several.
QString insertion()
{
    // "conflict" in the languages of the clients: Latin, Cyrillic, Japanese, Chinese, Korean.
    const QString conflict = uR"((?:[ck]onfli|конфл|競合|冲突|衝突|충돌))"_s;
    return QStringList{
        // Nextcloud, ownCloud: " (conflicted copy 2024-01-02 101112)", with or without a user;
        // Dropbox: " (Ann's conflicted copy 2024-01-02)", then "... 2024-01-02 (1))";
        // Seafile: " (SFConflict ann@example.org 2024-01-02-10-11-12)".
        uR"( \((?=[^/]*%1)[^/]*\d{4}-\d\d-\d\d[^/]*\))"_s.arg(conflict),
        // Older clients of ownCloud: "_conflict-20240102-101112", "_conflict_ann-20240102-101112".
        uR"(_conflict(?:_[^/]*)?-\d{8}-\d{6})"_s,
        // Syncthing: ".sync-conflict-20240102-101112-ABCDEFG", once without the device.
        uR"(\.sync-conflict-\d{8}-\d{6}(?:-[A-Z0-9]{7})?)"_s,
    }
        .join(u'|');
}

} // namespace

bool isNameOfOne(const QString &fileName)
{
    static const QRegularExpression pattern(uR"(\Anotes(?:%1)+\.json\z)"_s.arg(insertion()),
                                            QRegularExpression::CaseInsensitiveOption |
                                                QRegularExpression::UseUnicodePropertiesOption);
    return pattern.match(fileName).hasMatch();
}

bool isStore(const OnDisk &content, const QByteArray &bytes)
{
    return !content.notes.empty() || !content.tombstones.empty() ||
           bytes == StoreFile::encode({}, {});
}

} // namespace Brevio::ConflictCopies
