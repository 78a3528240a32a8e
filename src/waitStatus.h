#pragma once

/// Decodes a wait status: how a child ended, or that it was stopped.
///
/// The macros of the C libraries agree on every status that a kernel returns, but not on others:
/// for 0x309, a signal with an exit code, glibc's WIFSIGNALED() is true, musl's and uClibc's are
/// not.  These functions give the same answers everywhere.
namespace tl {

constexpr int STOPPED = 0x7F;  // in place of a signal number

/// \returns the signal that ended the child; 0 if it exited, #STOPPED if it was stopped.
constexpr int signalBits(int status)
{
    return status & 0x7F;
}

/// \returns the exit code, or for a stopped child the signal that stopped it.
constexpr int codeBits(int status)
{
    return (status & 0xFF00) >> 8;
}

constexpr bool hasExited(int status)
{
    return signalBits(status) == 0;
}

constexpr bool wasEndedBySignal(int status)
{
    return signalBits(status) > 0 && signalBits(status) < STOPPED;
}

/// False if the core-file bit is set.
constexpr bool wasStopped(int status)
{
    return (status & 0xFF) == STOPPED;
}

}  // namespace tl
