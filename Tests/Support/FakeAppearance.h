#pragma once

#include "Platform/Screen/Appearance.h"

/// A desktop whose colour scheme the test chooses.
class FakeAppearance final : public Platform::Appearance
{
public:
    Platform::ColorScheme scheme() const override { return m_scheme; }
    void setScheme(Platform::ColorScheme scheme)
    {
        if (std::exchange(m_scheme, scheme) != scheme)
            Q_EMIT changed(scheme);
    }

private:
    Platform::ColorScheme m_scheme = Platform::ColorScheme::Light;
};
