#include "Platform/Speech/Permissions.h"

#include "Platform/Core/Portal.h"
#include "Platform/Screen/Alert.h"
#include "Platform/Storage/UserDefaults.h"

#include <QDialog>
#include <QFileInfo>
#include <QGuiApplication>
#include <QLoggingCategory>
#include <QPointer>

#include <array>
#include <utility>
#include <vector>

namespace Platform {

namespace {

Q_LOGGING_CATEGORY(permissionsLog, "brevio.permissions", QtCriticalMsg)

const QString deviceInterface = Portal::interfaceNamed(QStringLiteral("Device"));

struct Wording
{
    const char *key; ///< in the defaults; true is a yes, all else no answer
    const char *message;
    const char *explanation;
};

/// By permission.
constexpr std::array<Wording, 2> wordings{{
    {"brevio.microphoneAllowed",
     QT_TRANSLATE_NOOP("Permissions", "Allow %1 to use the microphone?"),
     QT_TRANSLATE_NOOP("Permissions", "The microphone is on only while you hold Alt. The "
                                      "sound becomes text on this computer and never leaves it.")},
    {"brevio.speechRecognitionAllowed",
     QT_TRANSLATE_NOOP("Permissions", "Allow %1 to use speech recognition?"),
     QT_TRANSLATE_NOOP("Permissions", "What you say while you hold Alt becomes text in your note. "
                                      "That happens on this computer; the sound never leaves it.")},
}};

/// Return refuses: whoever is typing when the question appears must not let the program listen by
/// a key meant for the text. Tab goes to the other button.
enum Button { DoNotAllow, Allow };

QString say(const char *text)
{
    return QCoreApplication::translate("Permissions", text);
}

class DesktopPermissions final : public QObject, public Permissions
{
public:
    DesktopPermissions(UserDefaults &defaults, std::function<QWidget *()> window, bool isSandboxed)
        : m_defaults(defaults)
        , m_window(std::move(window))
        , m_isSandboxed(isSandboxed)
    {}
    ~DesktopPermissions() override
    {
        for (Question &question : m_questions) {
            disconnect(question.sheetGoes);
            delete question.sheet;
        }
    }

    bool asksFor(Permission permission) const override
    {
        const auto index = static_cast<std::size_t>(permission);
        if (m_questions[index].isRefused)
            return false;
        return (m_isSandboxed && permission == Permission::Microphone) || !isAllowed(permission);
    }

    void requestAccess(Permission permission, Answer answered) override
    {
        Question &question = of(permission);
        question.callers.push_back(std::move(answered));
        if (question.callers.size() > 1)
            return;
        if (question.isRefused)
            answer(permission, false);
        else if (m_isSandboxed && permission == Permission::Microphone)
            askPortal();
        else
            askUser(permission);
    }

private:
    struct Question
    {
        std::vector<Answer> callers; ///< who wait for the answer; the first one had it asked
        QPointer<QDialog> sheet;
        QMetaObject::Connection sheetGoes;
        bool isRefused = false;
    };

    [[nodiscard]] Question &of(Permission permission)
    {
        return m_questions[static_cast<std::size_t>(permission)];
    }

    [[nodiscard]] bool isAllowed(Permission permission) const
    {
        const auto *key = wordings[static_cast<std::size_t>(permission)].key;
        return m_defaults.object(QLatin1String(key)).toBool(false);
    }

    void askUser(Permission permission)
    {
        const Wording &wording = wordings[static_cast<std::size_t>(permission)];
        const QString key = QLatin1String(wording.key);
        if (isAllowed(permission)) {
            answer(permission, true);
            return;
        }
        QWidget *window = m_window ? m_window() : nullptr;
        const Alert alert{say(wording.message).arg(QCoreApplication::applicationName()),
                          say(wording.explanation),
                          {say(QT_TRANSLATE_NOOP("Permissions", "Don't Allow")),
                           say(QT_TRANSLATE_NOOP("Permissions", "Allow"))},
                          DoNotAllow,
                          DoNotAllow};
        Question &question = of(permission);
        question.sheet = showAlert(window != nullptr && window->isVisible() ? window : nullptr,
                                   alert, [self = QPointer(this), permission, key](int button) {
                                       if (!self)
                                           return;
                                       if (button == Allow) {
                                           self->m_defaults.set(key, true);
                                           self->m_defaults.flush();
                                       }
                                       self->settle(permission, button == Allow);
                                   });
        question.sheetGoes = connect(question.sheet, &QObject::destroyed, this,
                                     [this, permission] { answer(permission, false); });
    }

    /// The portal keeps the answer, so that the desktop's own settings can take it back.
    void askPortal()
    {
        if (!m_portal) {
            m_portal = std::make_unique<Portal>(QGuiApplication::desktopFileName());
            connect(m_portal.get(), &Portal::replaced, this, [this] {
                if (std::exchange(m_isPortalAsked, false))
                    askUser(Permission::Microphone);
            });
        }
        if (!m_portal->isConnected()) {
            askUser(Permission::Microphone);
            return;
        }
        m_isPortalAsked = true;
        m_portal->request(deviceInterface, QStringLiteral("AccessDevice"),
                          {static_cast<uint>(QCoreApplication::applicationPid()),
                           QStringList{QStringLiteral("microphone")}},
                          {}, [this](Portal::Outcome outcome, const QVariantMap &) {
                              m_isPortalAsked = false;
                              // Some portals take this call from the sound system alone.
                              if (outcome == Portal::Outcome::Failed)
                                  askUser(Permission::Microphone);
                              else
                                  settle(Permission::Microphone,
                                         outcome == Portal::Outcome::Granted);
                          });
    }

    void settle(Permission permission, bool granted)
    {
        Question &question = of(permission);
        disconnect(question.sheetGoes);
        question.isRefused = !granted;
        if (!granted)
            qCInfo(permissionsLog)
                << "refused:" << wordings[static_cast<std::size_t>(permission)].key;
        answer(permission, granted);
    }

    void answer(Permission permission, bool granted)
    {
        QMetaObject::invokeMethod(
            this,
            [this, permission, granted] {
                // A caller may ask again, or be the end of this object.
                const auto callers = std::exchange(of(permission).callers, {});
                for (const Answer &answered : callers) {
                    if (answered)
                        answered(granted);
                }
            },
            Qt::QueuedConnection);
    }

    UserDefaults &m_defaults;
    std::function<QWidget *()> m_window;
    bool m_isSandboxed;
    std::array<Question, wordings.size()> m_questions;
    std::unique_ptr<Portal> m_portal; ///< From the first question in a sandbox.
    bool m_isPortalAsked = false;
};

} // namespace

std::unique_ptr<Permissions> Permissions::createForDesktop(UserDefaults &defaults,
                                                           std::function<QWidget *()> window,
                                                           const QString &sandboxMark)
{
    return std::make_unique<DesktopPermissions>(defaults, std::move(window),
                                                QFileInfo::exists(sandboxMark));
}

} // namespace Platform
