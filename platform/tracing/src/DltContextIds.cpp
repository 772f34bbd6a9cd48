#include "DltContextIds.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <set>
#include <string_view>

namespace tracing {
namespace {

struct Known
{
    std::string_view channel;
    std::string_view id;
};

// The table in docs/tracing.md.
constexpr std::array<Known, 24> kKnown{{{"CON_COMM", "COMM"},
                                        {"CON_COMMON_FOLDERMONITOR", "FMON"},
                                        {"CON_COMMON_RSTP", "RSTP"},
                                        {"CON_COMMON_TIMER", "TIMR"},
                                        {"CON_CONMAN_IFW", "IFWT"},
                                        {"CON_IDS_APP", "IAPP"},
                                        {"CON_IDS_ASI", "IASI"},
                                        {"CON_IDS_COMMON", "ICMN"},
                                        {"CON_IDS_CONNTRACK", "ICTK"},
                                        {"CON_IDS_CORE", "ICOR"},
                                        {"CON_IDS_EVENT", "IEVT"},
                                        {"CON_IDS_IDSM", "IDSM"},
                                        {"CON_IDS_MNGR", "IMNG"},
                                        {"CON_IDS_NETLINK", "INLK"},
                                        {"CON_IDS_PERSISTENCE", "IPRS"},
                                        {"CON_IDS_SENSOR_ETH", "IETH"},
                                        {"CON_IDS_SENSOR_HOST", "IHST"},
                                        {"CON_IDS_SOMEIP", "ISIP"},
                                        {"CON_LIB_IOMRUN", "IOMR"},
                                        {"CON_LIB_NL", "LBNL"},
                                        {"CON_LIB_NLREQ", "NLRQ"},
                                        {"CON_PERSISTENCE", "PERS"},
                                        {"CON_PERSISTENCE_IMPL", "PRIM"},
                                        {"CON_TIME", "TIME"}}};

constexpr bool idsAreUnique()
{
    for (std::size_t i = 0; i < kKnown.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            if (kKnown[i].id == kKnown[j].id) {
                return false;
            }
        }
    }
    return true;
}
static_assert(idsAreUnique());

// FNV-1a.
std::uint32_t hash(std::string_view text)
{
    std::uint32_t value = 2166136261U;
    for (const char byte : text) {
        value = (value ^ static_cast<unsigned char>(byte)) * 16777619U;
    }
    return value;
}

std::string letters(std::uint32_t number)
{
    std::string id(4, 'A');
    for (char& letter : id) {
        letter = static_cast<char>('A' + number % 26);
        number /= 26;
    }
    return id;
}

} // namespace

std::map<std::string, std::string> dltContextIds(const std::vector<std::string>& channels)
{
    std::map<std::string, std::string> ids;
    for (const auto& name : channels) {
        ids.emplace(name, "");
    }
    std::set<std::string> taken;
    for (const auto& known : kKnown) {
        taken.emplace(known.id);
        if (const auto found = ids.find(std::string{known.channel}); found != ids.end()) {
            found->second = known.id;
        }
    }
    // In the order of the names, so that names with equal hashes get the same ids every time.
    for (auto& [name, id] : ids) {
        for (auto number = hash(name); id.empty(); ++number) {
            if (const auto derived = letters(number); taken.insert(derived).second) {
                id = derived;
            }
        }
    }
    return ids;
}

} // namespace tracing
