#pragma once

#include <QString>
#include <QStringList>

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

namespace Platform {

/// What another start, or the desktop, asks of the running copy.
struct InstanceRequest
{
    QString action; ///< one of the ids given to claim(); empty: just show yourself
};

/// That this process is the one running copy of the program, on this session bus and on this data
/// folder. The claim lives as long as the object, and ends with the process however that ends; no
/// file is left. Other copies are heard of over the session bus, as org.freedesktop.Application,
/// and over a local socket that works without a bus or with another one. Copies that share the
/// folder across network namespaces or machines do not see each other. Main thread only.
class Instance final
{
public:
    using Callback = std::function<void(const InstanceRequest &)>;
    static constexpr std::chrono::milliseconds defaultPatience{5000};

    /// Empty when another copy of the same user runs. That one has then been asked to show itself,
    /// and an answer awaited for as long as patience says; without an answer a line on standard
    /// error says so, and the request waits for the other copy to be ready. The caller exits.
    ///
    /// To be called once the application object exists and before anything in the data folder is
    /// read; the folder itself need not exist. A request that made the desktop start this process
    /// is on its way before this returns: it is kept by the time a job runs that is posted
    /// to the main queue afterwards.
    [[nodiscard]] static std::unique_ptr<Instance>
    claim(const QString &applicationId, const QString &dataFolder, const QStringList &actions = {},
          std::chrono::milliseconds patience = defaultPatience);
    ~Instance();

    /// The requests kept so far, oldest first; they are kept until there is a callback.
    [[nodiscard]] std::vector<InstanceRequest> takePending();

    /// Hands over what is still kept, then every request as it comes. A request's time stamp has
    /// reached UserTime by then.
    void onRequest(Callback callback);

private:
    explicit Instance(QStringList actions);
    void deliver(const QString &action, const QByteArray &startupMark);

    QStringList m_actions;
    std::vector<InstanceRequest> m_pending;
    Callback m_callback;
    std::shared_ptr<void> m_busName; ///< empty without a bus
    std::shared_ptr<void> m_socket;  ///< empty where none is to be had
};

} // namespace Platform
