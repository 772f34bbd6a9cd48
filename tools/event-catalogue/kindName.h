#pragma once

#include <string_view>

#include "SFieldLayout.h"

namespace event_catalogue_tool {

inline std::string_view kindName(ids::EFieldKind kind)
{
    switch (kind) {
    case ids::EFieldKind::integer:
        return "integer";
    case ids::EFieldKind::constant:
        return "constant";
    case ids::EFieldKind::text:
        return "text";
    case ids::EFieldKind::characters:
        return "characters";
    case ids::EFieldKind::bytes:
        return "bytes";
    case ids::EFieldKind::address:
        return "address";
    case ids::EFieldKind::time:
        return "time";
    }
    return {};
}

} // namespace event_catalogue_tool
