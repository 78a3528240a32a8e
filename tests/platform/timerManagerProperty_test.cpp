// Random sequences of additions, kills and passes, including nested passes and exceptions, compared
// with a plain list in order of delivery.

#include <algorithm>
#include <random>
#include <stdexcept>

#include "RecordedTimers.h"

namespace {

/// A model of the manager: a list with linear search.
class Model {
public:
    /// One pass of Process(), and what it may deliver.
    struct Pass {
        std::int64_t now;
        std::uint64_t firstOfNext;
    };

    /// \returns the id that the new timer must have.
    unsigned long add(std::int64_t deadline)
    {
        do
            ++number_;
        while (static_cast<std::uint32_t>(number_) == 0 ||
               isWaiting(static_cast<std::uint32_t>(number_)));
        const Timer timer{deadline, number_, static_cast<std::uint32_t>(number_)};
        waiting_.insert(std::upper_bound(waiting_.begin(), waiting_.end(), timer), timer);
        return timer.id;
    }

    bool isWaiting(unsigned long id) const { return find(id) != waiting_.end(); }

    void kill(unsigned long id)
    {
        const auto timer = find(id);
        if (timer != waiting_.end())
            waiting_.erase(timer);
    }

    Pass begin(std::int64_t now) const { return {now, number_ + 1}; }

    /// \returns the id that the pass must deliver next; 0 when it is done.
    unsigned long next(const Pass& pass) const
    {
        for (const Timer& timer : waiting_)
            if (timer.deadline <= pass.now && timer.number < pass.firstOfNext)
                return timer.id;
        return 0;
    }

    std::uint64_t number() const { return number_; }
    void continueAt(std::uint64_t number) { number_ = number; }

    bool isEmpty() const { return waiting_.empty(); }
    unsigned long at(std::size_t index) const { return waiting_[index % waiting_.size()].id; }

private:
    struct Timer {
        std::int64_t deadline;
        std::uint64_t number;
        unsigned long id;

        bool operator<(const Timer& other) const
        {
            return deadline != other.deadline ? deadline < other.deadline : number < other.number;
        }
    };

    std::vector<Timer>::const_iterator find(unsigned long id) const
    {
        return std::find_if(waiting_.begin(), waiting_.end(),
                            [id](const Timer& timer) { return timer.id == id; });
    }

    std::vector<Timer> waiting_;
    std::uint64_t number_ = 0;
};

struct Thrown : std::exception {};

/// One random sequence.  Every operation is applied to both the manager and the model.
class Sequence {
public:
    explicit Sequence(unsigned int seed) : random_(seed) {}

    void step()
    {
        clock_.now += upTo(3) == 0 ? upTo(4000) * 1000000 : upTo(2);
        switch (upTo(20)) {
            case 0:
            case 1:
            case 2:
            case 3:
            case 4:
            case 5:
            case 6:
            case 7:
                return add();
            case 8:
            case 9:
            case 10:
            case 11:
            case 12:
                return kill();
            case 13:
                return useNumbersUp();
            case 14:
                return burst();
            default:
                return process();
        }
    }

    /// Fires all remaining timers.
    void finish()
    {
        ending_ = true;
        clock_.now += 5000 * VirtualClock::S;
        process();
        EXPECT_TRUE(model_.isEmpty());
    }

    std::size_t fired() const { return fired_; }

private:
    std::int64_t upTo(int limit)
    {
        return static_cast<std::int64_t>(random_() % static_cast<unsigned int>(limit));
    }

    void add()
    {
        const bool inSeconds = upTo(4) == 0;
        const std::int64_t duration = upTo(3) == 0 ? 0 : upTo(5000);
        const std::int64_t unit = inSeconds ? VirtualClock::S : VirtualClock::MS;
        const unsigned long id = manager_.AddTimer(static_cast<unsigned int>(duration),
                                                   inSeconds ? SECONDS : MILLISECONDS, &callback_);
        EXPECT_EQ(model_.add(clock_.now + duration * unit), id);
        known_.push_back(id);
    }

    // Enough for the tables to grow, and to shrink again.
    void burst()
    {
        const std::int64_t count = upTo(200);
        for (std::int64_t i = 0; i < count; ++i)
            upTo(2) == 0 ? add() : kill();
    }

    // The id of a waiting timer, of a former one, or of none.
    void kill()
    {
        unsigned long id = static_cast<unsigned long>(upTo(1000));
        const std::int64_t which = upTo(4);
        if (which < 2 && !model_.isEmpty())
            id = model_.at(static_cast<std::size_t>(upTo(100000)));
        else if (which == 2 && !known_.empty())
            id = known_[static_cast<std::size_t>(upTo(100000)) % known_.size()];

        model_.kill(id);
        manager_.KillTimer(id);
    }

    // Numbers soon wrap around, while early timers may still be waiting.
    void useNumbersUp()
    {
        if (upTo(10) != 0)
            return;
        const std::uint64_t end = ((model_.number() >> 32) + 1) << 32;
        model_.continueAt(
            std::max(model_.number(), end - static_cast<std::uint64_t>(upTo(20)) - 1));
        continueNumbersAt(manager_, model_.number() + 1);
    }

    void process()
    {
        passes_.push_back(model_.begin(clock_.now));
        try {
            manager_.Process();
            EXPECT_EQ(0U, model_.next(passes_.back()));
        } catch (const Thrown&) {
        }
        passes_.pop_back();
    }

    void onFired(unsigned long id)
    {
        ++fired_;
        ASSERT_EQ(model_.next(passes_.back()), id);
        model_.kill(id);
        if (ending_)
            return;

        for (std::int64_t i = upTo(4); i > 0; --i)
            inCallback();
        if (upTo(15) == 0)
            throw Thrown();
    }

    void inCallback()
    {
        clock_.now += upTo(2) * upTo(3000000);
        switch (upTo(4)) {
            case 0:
                return add();
            case 1:
            case 2:
                return kill();
            default:
                if (passes_.size() < 4)
                    process();
        }
    }

    std::mt19937 random_;
    VirtualClock clock_;
    CTimerManager manager_;
    Model model_;
    Callback callback_{[this](unsigned long id, long) { onFired(id); }};
    std::vector<unsigned long> known_;
    std::vector<Model::Pass> passes_;  // those in progress, the innermost last
    bool ending_ = false;
    std::size_t fired_ = 0;
};

}  // namespace

TEST(TimerManagerProperty, AgreesWithASortedListInEverySequence)
{
    constexpr unsigned int SEQUENCES = 300;
    constexpr int STEPS = 400;
    std::size_t fired = 0;

    for (unsigned int seed = 1; seed <= SEQUENCES; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Sequence sequence(seed);
        for (int step = 0; step < STEPS && !::testing::Test::HasFailure(); ++step)
            sequence.step();
        sequence.finish();
        fired += sequence.fired();
        ASSERT_FALSE(::testing::Test::HasFailure());
    }

    // The sequences are only useful if much happens in them.
    EXPECT_LT(SEQUENCES * 400U, fired);
}
