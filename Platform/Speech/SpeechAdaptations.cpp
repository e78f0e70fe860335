#include "Platform/Speech/SpeechAdaptations.h"

#include "Platform/Storage/UserDefaults.h"

#include <QJsonArray>
#include <QJsonObject>

namespace Platform {

namespace {

/// An array of dictionaries, that of the microphone used last first.
const QString adaptationsKey = QStringLiteral("brevio.speechAdaptations");
/// Engine and microphone, as in "pocketsphinx/alsa_input.usb".
const QString nameKey = QStringLiteral("microphone");
const QString learnedKey = QStringLiteral("learned"); // base64

QString prefixOf(const QString &engine)
{
    return engine + u'/';
}

} // namespace

SpeechAdaptations::ByMicrophone SpeechAdaptations::of(const QString &engine) const
{
    ByMicrophone found;
    const QString prefix = prefixOf(engine);
    const QJsonArray all = m_defaults.object(adaptationsKey).toArray();
    for (const QJsonValue &one : all) {
        const QString name = one[nameKey].toString();
        if (!name.startsWith(prefix))
            continue;
        const auto learned = QByteArray::fromBase64Encoding(
            one[learnedKey].toString().toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
        if (learned && !(*learned).isEmpty())
            found.emplace(name.mid(prefix.size()).toStdString(), *learned);
    }
    return found;
}

void SpeechAdaptations::store(const QString &engine, const std::string &microphone,
                              const QByteArray &adaptation)
{
    const QString latest = prefixOf(engine) + QString::fromStdString(microphone);
    const QString learned = QString::fromLatin1(adaptation.toBase64());
    QJsonArray kept{QJsonObject{{nameKey, latest}, {learnedKey, learned}}};
    const QJsonArray earlier = m_defaults.object(adaptationsKey).toArray();
    for (const QJsonValue &one : earlier) {
        if (kept.size() == mostMicrophones)
            break;
        if (one[learnedKey].isString() && one[nameKey].isString() && one[nameKey] != latest)
            kept.append(one);
    }
    m_defaults.set(adaptationsKey, kept);
}

} // namespace Platform
