// What does it cost to run a program that does nothing, under timeout(1) and under each given
// command?
//
//     supervise TLDEVICE...     wall time of "timeout 10 true" and of "TLDEVICE run -t 10 true", in
//                               microseconds
//
// The commands take turns, so that other load on the machine affects all of them.

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

constexpr int ROUNDS = 1000;

struct Contender {
    std::vector<std::string> words_;
    std::vector<double> times_;
};

double microsecondsOf(Contender& contender)
{
    std::vector<char*> words;
    for (std::string& word : contender.words_)
        words.push_back(word.data());
    words.push_back(nullptr);

    const auto began = std::chrono::steady_clock::now();
    pid_t child = 0;
    int status = 0;
    if (::posix_spawnp(&child, words[0], nullptr, nullptr, words.data(), environ) != 0 ||
        ::waitpid(child, &status, 0) != child || status != 0) {
        std::fprintf(stderr, "supervise: %s failed\n", words[0]);
        std::exit(1);
    }
    const std::chrono::duration<double, std::micro> took = std::chrono::steady_clock::now() - began;
    return took.count();
}

double middleOf(std::vector<double> times)
{
    std::nth_element(times.begin(), times.begin() + ROUNDS / 2, times.end());
    return times[ROUNDS / 2];
}

}  // namespace

int main(int argc, char** argv)
{
    std::vector<Contender> contenders = {{{"timeout", "10", "true"}, {}}};
    for (int i = 1; i < argc; ++i)
        contenders.push_back({{argv[i], "run", "-t", "10", "true"}, {}});

    for (int round = 0; round < ROUNDS; ++round)
        for (Contender& contender : contenders)
            contender.times_.push_back(microsecondsOf(contender));

    const double timeout = middleOf(contenders[0].times_);
    std::printf("%10s %10s %7s\n", "median us", "minimum us", "ratio");
    for (const Contender& contender : contenders)
        std::printf("%10.0f %10.0f %7.2f  %s\n", middleOf(contender.times_),
                    *std::min_element(contender.times_.begin(), contender.times_.end()),
                    middleOf(contender.times_) / timeout, contender.words_[0].c_str());
    return 0;
}
