#include "PlayedUnit.h"

#include <cstdio>
#include <cstdlib>

namespace bench_support {
namespace {

std::vector<std::string> command(const char* program, const std::vector<std::string>& options)
{
    std::vector<std::string> words{program};
    words.insert(words.end(), options.begin(), options.end());
    return words;
}

void await(const test_support::ChildProcess& process, const char* text)
{
    if (!process.waitForOutput(text)) {
        std::fprintf(stderr, "%s\na neighbour does not start\n", process.output().c_str());
        std::exit(1);
    }
}

} // namespace

PlayedUnit::PlayedUnit(const std::vector<std::string>& carDomain)
    : m_services{command(UNIT_SIMULATOR, {"--do", "position"})}, m_car{command(RSTP_PEER, carDomain)}
{
    await(m_services, "the unit's services are there");
    await(m_car, "waiting for a client");
}

} // namespace bench_support
