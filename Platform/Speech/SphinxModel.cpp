#include "Platform/Speech/SphinxModel.h"

#include <QDataStream>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

#include <algorithm>
#include <array>

namespace Platform {

namespace {

#ifdef POCKETSPHINX_MODEL_FOLDER
constexpr const char *packagedModels = POCKETSPHINX_MODEL_FOLDER;
#else
constexpr const char *packagedModels = "/usr/share/pocketsphinx/model";
#endif

constexpr std::array neededFiles{"en-us/mdef",
                                 "en-us/means",
                                 "en-us/variances",
                                 "en-us/sendump",
                                 "en-us/transition_matrices",
                                 "en-us/feat.params",
                                 "en-us/noisedict",
                                 "en-us.lm.bin",
                                 "cmudict-en-us.dict"};

// The definition of phones, "mdef": a mark, a version, a text that describes the rest, ten counts,
// then the phones' names and tables of so many entries.
constexpr qint32 definitionMark = 0x46444D42; // "BMDF"
constexpr qint64 treeEntry = 8;               // bytes
constexpr qint64 phoneEntry = 12;             // bytes
constexpr qint64 stateEntry = 2;              // bytes
constexpr qint64 alignment = 4;               // bytes; of the tables

} // namespace

QStringList SphinxModel::usualFolders()
{
    QStringList folders = QStandardPaths::standardLocations(QStandardPaths::GenericDataLocation);
    for (QString &folder : folders)
        folder += QStringLiteral("/pocketsphinx/model");
    return folders << QString::fromUtf8(packagedModels);
}

std::optional<SphinxModel> SphinxModel::find(const QStringList &folders)
{
    for (const QString &folder : folders) {
        const QString model = folder + QStringLiteral("/en-us/");
        const bool isComplete = std::ranges::all_of(neededFiles, [&](const char *file) {
            const QFileInfo info(model + QLatin1String(file));
            return info.isFile() && info.isReadable() && info.size() > 0;
        });
        if (isComplete) {
            const auto path = [&](const char *file) {
                return QFile::encodeName(model + QLatin1String(file));
            };
            return SphinxModel{path("en-us"), path("en-us.lm.bin"), path("cmudict-en-us.dict")};
        }
    }
    return std::nullopt;
}

bool SphinxModel::isWhole() const
{
    QFile file(QFile::decodeName(acoustic) + QStringLiteral("/mdef"));
    if (!file.open(QIODevice::ReadOnly))
        return false;
    QDataStream stream(&file);
    stream.setByteOrder(QDataStream::LittleEndian);
    qint32 mark = 0;
    qint32 version = 0;
    qint32 described = 0;
    stream >> mark >> version >> described;
    if (mark != definitionMark)
        return true; // another kind, which the library checks
    stream.skipRawData(described);
    std::array<qint32, 10> counts{};
    for (qint32 &count : counts)
        stream >> count;
    const qint32 phoneNames = counts[0];
    const qint64 phones = counts[1];
    const qint32 states = counts[2];
    const qint64 sequences = counts[6];
    const qint64 treeNodes = counts[8];
    if (stream.status() != QDataStream::Ok || *std::ranges::min_element(counts) < 0)
        return false;

    const qint64 start = file.pos();
    qint64 names = 0;
    char letter = 0;
    for (qint32 left = phoneNames; left > 0; ++names) {
        if (!file.getChar(&letter))
            return false;
        left -= letter == 0 ? 1 : 0;
    }
    const qint64 tables = start + (names + alignment - 1) / alignment * alignment;
    const qint64 stateCount = tables + treeNodes * treeEntry + phones * phoneEntry;
    qint32 stateEntries = 0;
    if (!file.seek(stateCount))
        return false;
    QDataStream last(&file);
    last.setByteOrder(QDataStream::LittleEndian);
    last >> stateEntries;
    const qint64 end = file.pos() + stateEntries * stateEntry + (states == 0 ? sequences : 0);
    return last.status() == QDataStream::Ok && stateEntries >= 0 && end <= file.size();
}

} // namespace Platform
