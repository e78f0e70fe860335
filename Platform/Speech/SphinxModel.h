#pragma once

#include <QByteArray>
#include <QStringList>

#include <optional>

namespace Platform {

/// The files of PocketSphinx's US English model, as its library wants their names.
struct SphinxModel
{
    QByteArray acoustic; ///< a folder
    QByteArray language;
    QByteArray dictionary;

    /// The user's and the system's data folders, then the one that the library was packaged with.
    [[nodiscard]] static QStringList usualFolders();
    /// In the first of the folders where no file is missing, unreadable or empty.
    [[nodiscard]] static std::optional<SphinxModel> find(const QStringList &folders);

    /// False when the file is cut short in which the library itself would not notice it but read on
    /// past the end. It refuses other damage, but for numbers that are merely wrong.
    [[nodiscard]] bool isWhole() const;
};

} // namespace Platform
