#pragma once

#include "Platform/Desktop/LoginItem.h"

#include <vector>

/// A session whose answers the test chooses; says what was asked of it.
class FakeLoginItem final : public Platform::LoginItem
{
public:
    Status status() const override { return m_status; }
    bool registerItem(Origin origin) override
    {
        registrations.push_back(origin);
        return succeeds;
    }
    bool unregisterItem() override
    {
        ++unregistrations;
        return succeeds;
    }
    void setStatus(Status status) { m_status = status; }

    bool succeeds = true;
    std::vector<Origin> registrations;
    int unregistrations = 0;

private:
    Status m_status = Status::NotRegistered;
};
