#pragma once

// Timers of this library and its peers behind one interface: a Timers object has a number of timers
// in one loop.
//
//     start(i, ms)   starts timer i, its time counted from this call, or starts it again
//     stop(i)        cancels it
//     fire()         runs what is due, without waiting
//     fired          how many have run out so far
//
// If a library counts from a time that its loop caches, start() updates that time first.

#include <cstddef>
#include <memory>
#include <vector>

#include "tlshared/TimerManager.h"

#ifdef BENCH_UV
#include <uv.h>
#endif
#ifdef BENCH_EVENT
#include <event2/event.h>
#include <event2/event_struct.h>
#endif
#ifdef BENCH_ASIO
#include <boost/asio.hpp>
#endif
#ifdef BENCH_GLIB
#include <glib.h>
#endif

class OwnTimers final : private ITimerManagerCallback {
public:
    explicit OwnTimers(std::size_t count) : ids_(count, 0) {}

    void start(std::size_t i, unsigned int milliseconds)
    {
        stop(i);
        ids_[i] = manager_.AddTimer(milliseconds, 1, this);
    }
    void stop(std::size_t i)
    {
        if (ids_[i] != 0)
            manager_.KillTimer(ids_[i]);
        ids_[i] = 0;
    }
    void fire() { manager_.Process(); }

    std::size_t fired = 0;

private:
    void OnTimerExpired(unsigned long, long) override { ++fired; }

    CTimerManager manager_;
    std::vector<unsigned long> ids_;
};

#ifdef BENCH_UV
template <bool COUNTS_FROM_CALL>
class UvTimersOf {
public:
    explicit UvTimersOf(std::size_t count) : timers_(count)
    {
        uv_loop_init(&loop_);
        for (uv_timer_t& timer : timers_) {
            uv_timer_init(&loop_, &timer);
            timer.data = this;
        }
    }
    ~UvTimersOf()
    {
        for (uv_timer_t& timer : timers_)
            uv_close(reinterpret_cast<uv_handle_t*>(&timer), nullptr);
        uv_run(&loop_, UV_RUN_DEFAULT);
        uv_loop_close(&loop_);
    }

    void start(std::size_t i, unsigned int milliseconds)
    {
        if (COUNTS_FROM_CALL)
            uv_update_time(&loop_);
        uv_timer_start(
            &timers_[i], [](uv_timer_t* timer) { ++static_cast<UvTimersOf*>(timer->data)->fired; },
            milliseconds, 0);
    }
    void stop(std::size_t i) { uv_timer_stop(&timers_[i]); }
    void fire() { uv_run(&loop_, UV_RUN_NOWAIT); }

    std::size_t fired = 0;

private:
    uv_loop_t loop_;
    std::vector<uv_timer_t> timers_;
};
using UvTimers = UvTimersOf<true>;
using UvTimersOfCachedTime = UvTimersOf<false>;
#endif

#ifdef BENCH_EVENT
// By default, libevent reads a cheap clock that advances every few milliseconds.
template <int CLOCK_FLAGS>
class EventTimersOf {
public:
    explicit EventTimersOf(std::size_t count) : base_(newBase()), timers_(count)
    {
        for (event& timer : timers_)
            evtimer_assign(
                &timer, base_,
                [](evutil_socket_t, short, void* self) {
                    ++static_cast<EventTimersOf*>(self)->fired;
                },
                this);
    }
    ~EventTimersOf()
    {
        for (event& timer : timers_)
            event_del(&timer);
        event_base_free(base_);
    }

    void start(std::size_t i, unsigned int milliseconds)
    {
        const timeval time{milliseconds / 1000, milliseconds % 1000 * 1000};
        event_add(&timers_[i], &time);
    }
    void stop(std::size_t i) { event_del(&timers_[i]); }
    void fire() { event_base_loop(base_, EVLOOP_NONBLOCK); }

    std::size_t fired = 0;

private:
    static event_base* newBase()
    {
        event_config* config = event_config_new();
        event_config_set_flag(config, CLOCK_FLAGS);
        event_base* base = event_base_new_with_config(config);
        event_config_free(config);
        return base;
    }

    event_base* base_;
    std::vector<event> timers_;
};
using EventTimers = EventTimersOf<EVENT_BASE_FLAG_PRECISE_TIMER>;
using EventTimersOfCoarseClock = EventTimersOf<0>;
#endif

#ifdef BENCH_ASIO
class AsioTimers {
public:
    explicit AsioTimers(std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i)
            timers_.emplace_back(context_);
    }

    // A cancelled wait still runs its handler, which is part of the cost: they are run now and
    // then.
    void start(std::size_t i, unsigned int milliseconds)
    {
        timers_[i].expires_after(std::chrono::milliseconds(milliseconds));
        timers_[i].async_wait([this](const boost::system::error_code& error) {
            if (!error)
                ++fired;
        });
        drain();
    }
    void stop(std::size_t i) { timers_[i].cancel(); }
    void fire()
    {
        context_.restart();
        context_.poll();
    }

    std::size_t fired = 0;

private:
    void drain()
    {
        if (++sinceDrained_ % 64 == 0)
            fire();
    }

    boost::asio::io_context context_{1};
    std::vector<boost::asio::steady_timer> timers_;
    std::size_t sinceDrained_ = 0;
};
#endif

#ifdef BENCH_GLIB
class GlibTimers {
public:
    explicit GlibTimers(std::size_t count) : context_(g_main_context_new()), timers_(count, nullptr)
    {
    }
    ~GlibTimers()
    {
        for (std::size_t i = 0; i < timers_.size(); ++i)
            stop(i);
        g_main_context_unref(context_);
    }

    void start(std::size_t i, unsigned int milliseconds)
    {
        stop(i);
        GSource* source = g_timeout_source_new(milliseconds);
        g_source_set_callback(
            source,
            [](void* self) -> gboolean {
                ++static_cast<GlibTimers*>(self)->fired;
                return G_SOURCE_REMOVE;
            },
            this, nullptr);
        g_source_attach(source, context_);
        timers_[i] = source;
    }
    void stop(std::size_t i)
    {
        if (timers_[i] == nullptr)
            return;
        g_source_destroy(timers_[i]);
        g_source_unref(timers_[i]);
        timers_[i] = nullptr;
    }
    void fire()
    {
        while (g_main_context_iteration(context_, FALSE)) {
        }
    }

    std::size_t fired = 0;

private:
    GMainContext* context_;
    std::vector<GSource*> timers_;
};
#endif
