#pragma once

#include <sys/select.h>

#include <set>
#include <string>
#include <vector>

#include "tl/Export.h"

/// \file
/// Conversions, fields and splitting; descriptor sets, sleeping and packet numbers.
///
/// These functions throw nothing but std::bad_alloc and log nothing; the few diagnostics go to
/// standard output.  All but getNextPacketNumber() may be called from any thread.

/// Converts hexadecimal `text` to a number, reading at most `length` characters and 8 digits.
///
/// Any other character ends the number, so a leading sign, blank or "0x" gives 0.  Eight digits
/// fill all 32 bits: "FFFFFFFF" is -1.  Seven digits from 8000000 up turn negative when another
/// character follows: "8000000 " is -134217728.
///
/// \returns the number; 0 for a null `text` or a `length` below 1.
TL_EXPORT int axtoi(const char* text, int length);

/// Converts decimal `text` to a number that silently wraps at 32 bits.
///
/// \returns the number; 0 if `text` is empty or holds anything but digits, even a sign or a blank.
TL_EXPORT int stringToInt(std::string text);

/// Puts the low 16 bits of `value` into `out`, as four lower-case hexadecimal digits.
TL_EXPORT void itoax(unsigned long value, std::string& out);

/// `value` as four lower-case hexadecimal digits.
TL_EXPORT std::string wtoax(unsigned short value);

/// `value` in decimal, as an output stream writes it by default: with the digit grouping of the
/// global locale, if any.
TL_EXPORT std::string intToString(int value);

/// Field `index`, counted from 0, of a line whose fields are separated by runs of blanks, but not
/// of tabs; "" if there are fewer fields.
TL_EXPORT std::string getStringField(std::string line, unsigned int index);

/// Run `index`, counted from 0, of hexadecimal digits in `line`, in its original case; "" if there
/// are fewer runs.  The letters a to f inside words count: the first run of "mac=00:1A:2b" is "ac".
TL_EXPORT std::string getHexField(std::string line, unsigned int index);

/// Rewrites `id`, hexadecimal digits of either case, as 16 lower-case digits: the last 16, with
/// leading zeros.  Nothing is validated: other characters give a meaningless result, but the same
/// one on every machine.
TL_EXPORT void createGUIDString(std::string& id);

/// String helpers.
namespace StringUtils {

/// Splits `text` at each `separator` and appends the pieces that are not empty to `out`.
///
/// The search resumes one character after a separator, so of two in a row the second stays in the
/// next piece: "a,,b" gives "a" and ",b".  An empty separator splits into single characters.
/// `text` and `separator` must not be elements of `out`.
///
/// \returns the number of separators found.  If that is 0, nothing is appended, not even `text`.
TL_EXPORT int SplitString(const std::string& text, const std::string& separator,
                          std::vector<std::string>& out);

}  // namespace StringUtils

/// Puts `fd` into `set`.
///
/// \returns the bound for select(2): the larger of `maxFd` and `fd` + 1.  For a null `set`, or an
///          `fd` below 0 or from `FD_SETSIZE` up, sets nothing, prints a line to standard output
///          and returns `maxFd`.
TL_EXPORT int addFDtoFDSET(int fd, int maxFd, fd_set* set);

/// Puts `fd` into `sockets`, and into or out of each of the three sets as the flags say.
///
/// -1 is ignored.  Any other `fd` below 0 or from `FD_SETSIZE` up has no bit in the three sets: it
/// goes into `sockets` only, and a line is printed to standard output.
TL_EXPORT void AddSocketToFDSets(std::set<int>& sockets, bool read, bool write, bool except, int fd,
                                 fd_set& readSet, fd_set& writeSet, fd_set& exceptSet);

/// Takes `fd` out of `sockets` and out of the three sets.  If it is not in `sockets`, the three
/// sets stay as they are.
///
/// An `fd` below 0 or from `FD_SETSIZE` up has no bit in the three sets; if it was in `sockets`, a
/// line is printed to standard output.
TL_EXPORT void RemoveSocketFromFDSets(std::set<int>& sockets, int fd, fd_set& readSet,
                                      fd_set& writeSet, fd_set& exceptSet);

/// Sets (or, with a `value` of 0, clears) the close-on-exec flag of `fd`, through fcntl(2).
///
/// \returns the result of the failed or last fcntl(2): negative, with `errno` set, on failure.
TL_EXPORT int set_cloexec_flag(int fd, int value);

/// Sleeps, through nanosleep(2), for up to a second.
///
/// After a first interruption by a signal handler the sleep resumes; a second one ends it early,
/// with a line on standard output.
///
/// \warning A delay of a second or more is not split: it becomes one second plus `microseconds`
/// *nano*seconds, so 1500000 sleeps 1.0015 s.  1000000000 and more do not sleep at all and print
/// two lines on standard output.
TL_EXPORT void tluSleep(unsigned long microseconds);

/// The next packet number, as four lower-case hexadecimal digits: "0001", "0002", ... "fffe",
/// "0000", ...; "ffff" is skipped.  For one thread at a time.
TL_EXPORT std::string getNextPacketNumber();

/// The packet number returned last; 0 before the first.
TL_EXPORT extern int globalPacketCount;
