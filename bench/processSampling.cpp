// The cost of sampling one process, against one process listed by ps: CPU time in user and kernel mode, over the same
// processes, in turns. The start of ps is included.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <memory>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "CProcScanner.h"
#include "ChildProcess.h"
#include "ForkedProcess.h"

namespace {

using namespace test_support;

constexpr std::size_t kSleepers = 500;
constexpr std::size_t kRounds = 51;

double microseconds(const timeval& time)
{
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_usec);
}

double ownMicroseconds()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) * 1e-3;
}

double sample(ids::CProcScanner& scanner)
{
    const auto before = ownMicroseconds();
    const auto sampled = scanner.sample().processes.size();
    return (ownMicroseconds() - before) / static_cast<double>(sampled);
}

double listWithPs(std::size_t processes)
{
    std::array<const char*, 4> words{"ps", "-eo", "pid,comm,cputimes,rss", nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t pid = -1;
    int status = -1;
    rusage usage{};
    if (posix_spawnp(&pid, words[0], &actions, nullptr, const_cast<char* const*>(words.data()), environ) != 0 ||
        wait4(pid, &status, 0, &usage) != pid || status != 0)
    {
        std::fprintf(stderr, "ps fails\n");
        std::exit(1);
    }
    posix_spawn_file_actions_destroy(&actions);
    return (microseconds(usage.ru_utime) + microseconds(usage.ru_stime)) / static_cast<double>(processes);
}

double median(std::array<double, kRounds>& values)
{
    std::sort(values.begin(), values.end());
    return values[kRounds / 2];
}

} // namespace

int main()
{
    std::vector<std::unique_ptr<ForkedProcess>> sleepers;
    while (sleepers.size() < kSleepers) {
        sleepers.push_back(std::make_unique<ForkedProcess>([] {}));
    }
    ids::CProcScanner scanner{nullptr, [](ids::Processes) {}, {.pause = {}, .cycle = {}}};
    const auto listing = outputOf({"ps", "-eo", "pid="});
    const auto listed = static_cast<std::size_t>(std::count(listing.begin(), listing.end(), '\n'));

    std::array<double, kRounds> ours;
    std::array<double, kRounds> theirs;
    for (std::size_t round = 0; round < kRounds; ++round) {
        ours[round] = sample(scanner);
        theirs[round] = listWithPs(listed);
    }
    const auto sampling = median(ours);
    const auto listingTime = median(theirs);
    std::printf("one process sampled  %6.2f us\none process listed   %6.2f us  (ps, %zu processes)\nratio              "
                "  %6.2f\n",
                sampling, listingTime, listed, sampling / listingTime);
    return 0;
}
