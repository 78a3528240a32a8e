#pragma once

#include <sys/select.h>

#include <set>
#include <string>
#include <vector>

#include "tl/Export.h"

/// \file
/// Conversions, fields and splitting; descriptor sets, sleeping and packet numbers.
///
/// Nothing here throws, out of memory excepted, and nothing is logged; the few diagnostics go to
/// standard output.  Every function may be called from any thread, but for getNextPacketNumber().

/// The number that hexadecimal `text` stands for: at most `length` characters and at most 8 digits
/// of it are read.
///
/// A character that is no digit ends the number, so a sign, a blank or "0x" in front gives 0.
/// Eight digits fill the 32 bits: "FFFFFFFF" is -1.  Seven digits from 8000000 up turn negative
/// when a foreign character follows them: "8000000 " is -134217728.
///
/// \returns 0 for a null `text` or a `length` below 1.
TL_EXPORT int axtoi(const char* text, int length);

/// The number that decimal `text` stands for; wraps silently at 32 bits.
///
/// \returns 0 where any character is no digit (signs and blanks included), or there is none.
TL_EXPORT int stringToInt(std::string text);

/// Puts the low 16 bits of `value` into `out`, as four lower-case hexadecimal digits.
TL_EXPORT void itoax(unsigned long value, std::string& out);

/// `value` as four lower-case hexadecimal digits.
TL_EXPORT std::string wtoax(unsigned short value);

/// `value` in decimal, as a default-formatted output stream writes it: with the digit grouping of
/// the global locale, if it has one.
TL_EXPORT std::string intToString(int value);

/// Field number `index`, from 0, of a line whose fields are separated by runs of blanks (' '
/// alone); "" where there are fewer.
TL_EXPORT std::string getStringField(std::string line, unsigned int index);

/// Run number `index`, from 0, of hexadecimal digits in `line`, as it stands; "" where there are
/// fewer.  Letters a to f inside words count: of "mac=00:1A:2b" the first is "ac".
TL_EXPORT std::string getHexField(std::string line, unsigned int index);

/// Rewrites `id`, hexadecimal digits of either case, as 16 lower-case digits: the last 16, with
/// zeros in front.  Nothing is validated: other characters give a result without meaning, the same
/// on every machine.
TL_EXPORT void createGUIDString(std::string& id);

namespace StringUtils {

/// Splits `text` at each `separator` and appends the pieces that are not empty to `out`.
///
/// The search goes on one character behind a separator, so of two in a row the second stays in the
/// next piece: "a,,b" gives "a" and ",b".  An empty separator splits into single characters.
/// `text` and `separator` must not be elements of `out`.
///
/// \returns the number of separators found.  Where that is 0 nothing is appended, `text` neither.
TL_EXPORT int SplitString(const std::string& text, const std::string& separator,
                          std::vector<std::string>& out);

}  // namespace StringUtils

/// Puts `fd` into `set`.
///
/// \returns the bound for select(2): the larger of `maxFd` and `fd` + 1.  For a null `set`, and for
///          an `fd` below 0 or from `FD_SETSIZE` up, nothing is changed, a line on standard output
///          says so, and `maxFd` is returned.
TL_EXPORT int addFDtoFDSET(int fd, int maxFd, fd_set* set);

/// Puts `fd` into `sockets`, and into or out of each of the three sets as the flags say.
///
/// -1 is ignored.  Any other `fd` below 0 or from `FD_SETSIZE` up changes nothing, and a line on
/// standard output says so.
TL_EXPORT void AddSocketToFDSets(std::set<int>& sockets, bool read, bool write, bool except, int fd,
                                 fd_set& readSet, fd_set& writeSet, fd_set& exceptSet);

/// Takes `fd` out of `sockets` and of the three sets.  One that is not in `sockets` stays where it
/// is.
///
/// An `fd` below 0 or from `FD_SETSIZE` up changes nothing, and a line on standard output says so
/// if it is in `sockets`.
TL_EXPORT void RemoveSocketFromFDSets(std::set<int>& sockets, int fd, fd_set& readSet,
                                      fd_set& writeSet, fd_set& exceptSet);

/// Makes `fd` close-on-exec, or with a `value` of 0 not, through fcntl(2).
///
/// \returns the result of the failed or last fcntl(2): negative, with `errno` set, on failure.
TL_EXPORT int set_cloexec_flag(int fd, int value);

/// Sleeps, through nanosleep(2), for up to a second.
///
/// A signal handler interrupts it once without harm; a second interruption ends the sleep early,
/// with a line on standard output.
///
/// \warning From a second up the delay is not split: it becomes one second plus `microseconds`
/// *nano*seconds, so 1500000 sleeps 1.0015 s.  1000000000 and more do not sleep at all; two lines
/// on standard output say so.
TL_EXPORT void tluSleep(unsigned long microseconds);

/// The next packet number, as four lower-case hexadecimal digits: "0001", "0002", ... "fffe",
/// "0000", ...; "ffff" is left out.  Not for several threads at once.
TL_EXPORT std::string getNextPacketNumber();

/// The packet number that was handed out last; 0 before the first.
TL_EXPORT extern int globalPacketCount;
