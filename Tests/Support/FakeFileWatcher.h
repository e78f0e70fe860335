#pragma once

#include "Platform/Storage/FileWatcher.h"

#include <QString>

#include <memory>
#include <utility>

/// What a watched folder looks like to a test: where it is, which names count, and a way to report
/// a change. Must outlive the watchers it makes; the latest one counts.
class FakeFileWatcher final
{
public:
    /// Makes watchers, in the form of FileWatcher::create.
    [[nodiscard]] auto factory()
    {
        return [this](const QString &watched, std::function<bool(const QString &)> filter,
                      Platform::MainQueue &, std::function<void()> onChange) {
            folder = watched;
            m_filter = std::move(filter);
            m_onChange = std::move(onChange);
            return std::unique_ptr<Platform::FileWatcher>(new Watch(*this));
        };
    }

    [[nodiscard]] bool isWatching() const { return m_onChange != nullptr; }
    [[nodiscard]] bool passes(const QString &name) const { return m_filter(name); }
    /// Reports a change to whoever watches.
    void report() const
    {
        if (m_onChange)
            m_onChange();
    }

    QString folder;

private:
    struct Watch final : Platform::FileWatcher
    {
        explicit Watch(FakeFileWatcher &owner)
            : fake(owner)
        {}
        ~Watch() override { fake.m_onChange = nullptr; }
        FakeFileWatcher &fake;
    };

    std::function<bool(const QString &)> m_filter;
    std::function<void()> m_onChange;
};
