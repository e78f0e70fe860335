#include "Platform/Core/X11Events.h"

#include <QAbstractNativeEventFilter>
#include <QCoreApplication>

#include <xcb/xcb.h>

namespace Platform {

namespace {

using Handler = std::function<X11Verdict(const X11Event &)>;

constexpr std::uint8_t sentBit = 0x80; // marks an event that a client sent

class Filter final : public QAbstractNativeEventFilter
{
public:
    explicit Filter(Handler handler)
        : m_handler(std::make_shared<const Handler>(std::move(handler)))
    {
        qApp->installNativeEventFilter(this);
    }

    bool nativeEventFilter(const QByteArray &type, void *message, qintptr *) override
    {
        if (type != "xcb_generic_event_t")
            return false;
        const auto mark = static_cast<const xcb_generic_event_t *>(message)->response_type;
        const auto kind = static_cast<std::uint8_t>(mark & ~sentBit);
        // The handler may end its own subscription.
        const auto handler = m_handler;
        return (*handler)({kind, (mark & sentBit) != 0, message}) == X11Verdict::Swallow;
    }

private:
    std::shared_ptr<const Handler> m_handler;
};

} // namespace

Subscription onX11Event(Handler handler)
{
    return std::make_shared<Filter>(std::move(handler));
}

} // namespace Platform
