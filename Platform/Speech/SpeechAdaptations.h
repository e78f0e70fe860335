#pragma once

#include <QByteArray>
#include <QString>

#include <map>
#include <string>

namespace Platform {

class UserDefaults;

/// What engines have learned about microphones, in the defaults. The microphones used longest ago
/// are forgotten. Values of a wrong type in the file count as missing. Main thread only.
class SpeechAdaptations final
{
public:
    /// By the name of the microphone.
    using ByMicrophone = std::map<std::string, QByteArray>;

    static constexpr int mostMicrophones = 8; // of all engines together

    /// The defaults must outlive the object.
    explicit SpeechAdaptations(UserDefaults &defaults)
        : m_defaults(defaults)
    {}

    [[nodiscard]] ByMicrophone of(const QString &engine) const;
    void store(const QString &engine, const std::string &microphone, const QByteArray &adaptation);

private:
    UserDefaults &m_defaults;
};

} // namespace Platform
