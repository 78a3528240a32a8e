// Random sequences of operations on the supervisor and on a model of it; everything observable is
// compared after each step. The sequences depend only on the seed; a failure prints it, with the
// preceding steps.

#include <random>

#include "SupervisorModel.h"
#include "SupervisorTest.h"

namespace {

constexpr int STEPS = 4000;
constexpr int REMEMBERED_STEPS = 12;

const std::vector<std::string> PROGRAMS = {"/bin/one", "/bin/one", "/usr/bin/two", "three", ""};
const std::vector<std::string> WORDS = {"", "a", "-b", "two words", "x"};
const std::vector<std::string> COMMAND_LINES = {"/bin/one",
                                                "/bin/one -x  y",
                                                " /bin/one",
                                                "",
                                                "/t 1 2 3 4 5 6 7 8 9",
                                                "/t 1 2 3 4 5 6 7 8 9 10",
                                                "/t 1 2 3 4 5 6 7 8 9 10 11"};
const std::vector<int> TIME_OUTS = {0, 0, 1, 30, 2147483647, -1};
const std::vector<int> ERRORS = {EACCES, ENOENT, ENOMEM, EINTR, EIO};
const std::vector<int> WAIT_ERRORS = {ECHILD, ECHILD, EINVAL, ENOSYS};

// Statuses: exits, signals, stops, and some that no real child has.
const std::vector<int> STATUSES = {0x0000, 0x0100, 0xff00,  0x2a00, 0x0080, 0x000f, 0x008f,
                                   0x050f, 0x0009, 0x000b,  0x008b, 0x0001, 0x007e, 0x070b,
                                   0x137f, 0x0f7f, 0x3057f, 0x00ff, 0xffff, 0xffff, 0x13ff};

class WatchProcessModel : public ::testing::Test {
protected:
    explicit WatchProcessModel(unsigned int seed = 1) : seed_(seed), random_(seed) {}

    void walk(int steps)
    {
        for (int step = 0; step < steps && !HasFailure(); ++step) {
            planTheKernel();
            takeAStep();
            compare(step);
        }
    }

    std::vector<int> visits() const { return model_.visits; }
    int endlessWaits() const { return endlessWaits_; }

private:
    unsigned int pick(unsigned int bound) { return static_cast<unsigned int>(random_() % bound); }
    bool oneIn(unsigned int number) { return pick(number) == 0; }

    template <class T>
    const T& oneOf(const std::vector<T>& choice)
    {
        return choice[pick(static_cast<unsigned int>(choice.size()))];
    }

    int errorOneIn(unsigned int number) { return oneIn(number) ? oneOf(ERRORS) : 0; }

    void planTheKernel()
    {
        KernelPlan plan;
        plan.accessErrors[F_OK] = errorOneIn(20);
        plan.accessErrors[R_OK | X_OK] = errorOneIn(20);
        plan.mkstempError = errorOneIn(15);
        plan.mkstempSpoilsTheName = oneIn(2);
        plan.fcntlError = errorOneIn(15);
        plan.forkError = errorOneIn(15);
        plan.killError = errorOneIn(10);
        plan.addTimerThrows = oneIn(15);
        plan.timerExpiresInPass = static_cast<int>(pick(5));
        for (unsigned int running = oneIn(2) ? pick(3) : 0; running > 0; --running)
            plan.waits.push_back({0, 0, 0});
        for (unsigned int ends = pick(3); ends > 0; --ends)
            plan.waits.push_back(oneIn(5) ? WaitAnswer{-1, 0, oneOf(WAIT_ERRORS)}
                                          : WaitAnswer{kernel_.lastChild(), oneOf(STATUSES),
                                                       oneIn(8) ? oneOf(WAIT_ERRORS) : 0});
        model_.plan = plan;

        kernel_.accessErrors = plan.accessErrors;
        kernel_.mkstempError = plan.mkstempError;
        kernel_.mkstempSpoilsTheName = plan.mkstempSpoilsTheName;
        kernel_.fcntlError = plan.fcntlError;
        kernel_.forkError = plan.forkError;
        kernel_.killError = plan.killError;
        kernel_.addTimerThrows = plan.addTimerThrows;
        kernel_.waits = plan.waits;
        kernel_.whileProcessing = [this, pass = 0, last = plan.timerExpiresInPass]() mutable {
            if (++pass == last)
                kernel_.expireTimer();
        };
    }

    struct Operation {
        const char* name;
        unsigned int weight;
        void (WatchProcessModel::*perform)();
    };

    void takeAStep()
    {
        // clang-format off
        static const Operation OPERATIONS[] = {
            { "poll",             24, &WatchProcessModel::poll },
            { "start arguments",  14, &WatchProcessModel::startArguments },
            { "start line",        6, &WatchProcessModel::startLine },
            { "restart",          10, &WatchProcessModel::restart },
            { "run",               3, &WatchProcessModel::run },
            { "wait",              5, &WatchProcessModel::wait },
            { "wait timed out",    3, &WatchProcessModel::waitTimedOut },
            { "wait not timed out",2, &WatchProcessModel::waitNotTimedOut },
            { "kill",              4, &WatchProcessModel::kill },
            { "expire",            6, &WatchProcessModel::expire },
            { "setTimeOutValues",  2, &WatchProcessModel::setTimeOutValues },
            { "clearState",        3, &WatchProcessModel::clearState },
            { "resetLogFile",      2, &WatchProcessModel::resetLogFile },
            { "deleteLog",         3, &WatchProcessModel::deleteLog },
            { "replace",           2, &WatchProcessModel::replace },
        };
        // clang-format on
        unsigned int weights = 0;
        for (const Operation& operation : OPERATIONS)
            weights += operation.weight;
        unsigned int chosen = pick(weights);
        const Operation* operation = OPERATIONS;
        while (chosen >= operation->weight)
            chosen -= (operation++)->weight;

        history_.push_back(operation->name);
        if (history_.size() > REMEMBERED_STEPS)
            history_.pop_front();
        (this->*operation->perform)();
    }

    template <class Call>
    static int resultOf(const Call& call)
    {
        try {
            return call();
        } catch (const std::bad_alloc&) {
            return SupervisorModel::THROWS;
        }
    }

    void expectResult(int expected, int actual)
    {
        EXPECT_EQ(expected, actual) << "result of " << history_.back();
    }

    void startArguments()
    {
        const std::string& program = oneOf(PROGRAMS);
        std::vector<std::string> args(oneIn(4) ? pick(12) : 1 + pick(3));
        for (std::string& word : args)
            word = oneOf(WORDS);
        const int timeOut = oneOf(TIME_OUTS);
        expectResult(model_.start(program, args, timeOut),
                     resultOf([&] { return process_->startProcess(program, args, timeOut); }));
    }

    void startLine()
    {
        const std::string& line = oneOf(COMMAND_LINES);
        const int timeOut = oneOf(TIME_OUTS);
        expectResult(model_.start(line, timeOut),
                     resultOf([&] { return process_->startProcess(line, timeOut); }));
    }

    void restart()
    {
        expectResult(model_.restart(), resultOf([&] { return process_->restartProcess(); }));
    }

    void run()
    {
        expectResult(model_.run(), resultOf([&] { return process_->runProcess(); }));
    }

    void poll() { expectResult(model_.poll(), process_->poll()); }

    // Skips a wait that would never end, according to the model.
    template <class Wait>
    void waitUnlessEndless(const Wait& waiting)
    {
        SupervisorModel ahead = model_;
        try {
            waiting(ahead);
        } catch (const SupervisorModel::EndlessWait&) {
            ++endlessWaits_;
            return;
        }
        model_ = ahead;
        waiting(*process_);
    }
    void wait()
    {
        waitUnlessEndless([](auto& supervisor) { supervisor.wait(); });
    }
    void waitTimedOut()
    {
        waitUnlessEndless([](auto& supervisor) { supervisor.wait(true); });
    }
    void waitNotTimedOut()
    {
        waitUnlessEndless([](auto& supervisor) { supervisor.wait(false); });
    }

    void kill()
    {
        model_.kill();
        process_->kill();
    }
    void expire()
    {
        model_.timerRuns = false;
        kernel_.expireTimer();
    }
    void setTimeOutValues()
    {
        model_.setTimeOutValues();
        process_->setTimeOutValues();
    }
    void clearState()
    {
        model_.clearState();
        process_->clearState();
    }
    void resetLogFile()
    {
        model_.resetLogFile();
        process_->resetLogFile();
    }
    void deleteLog()
    {
        model_.deleteLog();
        process_->deleteLog();
    }
    void replace()
    {
        model_.isReplaced();
        process_ = nullptr;
        process_ = std::make_unique<tl::WatchProcess>();
    }

    std::string flags()
    {
        const CapturedStream captured(std::cerr);
        process_->printState();
        return captured.text();
    }

    void compare(int step)
    {
        SCOPED_TRACE("seed " + std::to_string(seed_) + ", step " + std::to_string(step) +
                     ", behind: " + ::testing::PrintToString(history_));
        EXPECT_EQ(model_.calls, kernel_.takeCalls());
        model_.calls.clear();
        compareReports();

        EXPECT_EQ(model_.command, process_->command());
        EXPECT_EQ(model_.exitStatus, process_->exitStatus());
        EXPECT_EQ(model_.errorNum, process_->errorNum());
        EXPECT_EQ(model_.signal, process_->signal());
        EXPECT_EQ(model_.killedByTimer, process_->killedByTimer());
        EXPECT_EQ(model_.logFile, process_->logFile());
        EXPECT_EQ(std::string("waitTimer_.isExpired() is ") + (model_.timerRuns ? "0" : "1") +
                      ", isExecuting_ is " + (model_.executing ? "1" : "0"),
                  flags());
        EXPECT_EQ(model_.timerRuns, kernel_.timerRuns());
        EXPECT_EQ(0U, kernel_.openLogs().size()) << "open logs";
    }

    void compareReports()
    {
        LogLines lines;
        for (const std::string& text : model_.reports) {
            lines.push_back({3, text});
            reported_ += text + "\n";
        }
        model_.reports.clear();
        EXPECT_EQ(lines, syslog_.lines);
        syslog_.lines.clear();
        EXPECT_EQ(reported_, standardError_->text());
        if (reported_.size() > 10000) {
            reported_.clear();
            standardError_ = nullptr;
            standardError_ = std::make_unique<CapturedStream>(std::cerr);
        }
    }

    const unsigned int seed_;
    std::mt19937 random_;
    ScriptedKernel kernel_;
    CapturedSyslog syslog_;
    std::unique_ptr<CapturedStream> standardError_ = std::make_unique<CapturedStream>(std::cerr);
    std::string reported_;
    SupervisorModel model_;
    std::unique_ptr<tl::WatchProcess> process_ = std::make_unique<tl::WatchProcess>();
    std::deque<std::string> history_;
    int endlessWaits_ = 0;
};

class WatchProcessModelWalk : public WatchProcessModel,
                              public ::testing::WithParamInterface<unsigned int> {
protected:
    WatchProcessModelWalk() : WatchProcessModel(GetParam()) {}
};

TEST_P(WatchProcessModelWalk, ShowsWhatTheModelShows)
{
    walk(STEPS);
}

INSTANTIATE_TEST_SUITE_P(, WatchProcessModelWalk, ::testing::Range(1U, 9U),
                         [](const auto& test) { return "seed" + std::to_string(test.param); });

TEST_F(WatchProcessModel, WalksEveryTransition)
{
    walk(4 * STEPS);

    for (int i = 0; i < NUMBER_OF_TRANSITIONS; ++i)
        EXPECT_LT(2, visits().at(static_cast<size_t>(i)))
            << "from " << TRANSITIONS[i].from << " by event " << TRANSITIONS[i].event;
    EXPECT_LT(0, endlessWaits());
}

}  // namespace
