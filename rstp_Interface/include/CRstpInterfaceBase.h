#pragma once

#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

/// What every RSTP interface has: a way to send the frames that it builds.
class CRstpInterfaceBase
{
public:
    using Send = std::function<void(const std::vector<std::uint8_t>& frame)>;

    explicit CRstpInterfaceBase(Send send) : m_send{std::move(send)} {}
    virtual ~CRstpInterfaceBase() = default;
    CRstpInterfaceBase(const CRstpInterfaceBase&) = delete;
    CRstpInterfaceBase& operator=(const CRstpInterfaceBase&) = delete;

protected:
    const Send m_send;
};
