#pragma once

class QUrl;

namespace Platform::UpdateAddress {

/// Whether a feed may be fetched from here: over https, or over plain http from this machine
/// itself (127.0.0.1, ::1, localhost). An address that carries a user name is refused.
[[nodiscard]] bool isUsable(const QUrl &address);

/// Whether something the feed points to, or redirects to, may be fetched: it is usable by itself,
/// and a feed that came over https never leads to plain http.
[[nodiscard]] bool isUsableFrom(const QUrl &feed, const QUrl &address);

} // namespace Platform::UpdateAddress
