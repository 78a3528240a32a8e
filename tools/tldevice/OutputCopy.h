#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "Descriptor.h"

namespace tool {

/// Hands on what a growing file holds, a piece at a time, to standard output and to a copy.
///
/// A reader that does not keep up holds nothing up: a write that would block gives up after a moment, and
/// goes on where it was with the next step().  However much there is, only one piece is in memory.
class OutputCopy {
public:
    /// Where the output goes, and under what name that is complained of.
    void addSink(int fd, const std::string& name);

    /// Goes on with another file, from its beginning; what the last one still held must have been copied.
    /// \returns false where it cannot be opened.
    bool openSource(const char* path);

    /// Hands on at most one piece.  \returns whether there was anything to do.
    bool step();

    /// How large the source is now.
    off_t sourceSize() const;
    bool hasMore() const { return hasMoreBefore(sourceSize()); }
    /// Whether something that stands before `end` was not handed on yet.
    bool hasMoreBefore(off_t end) const { return copied_ < end || !pieceIsDone(); }
    /// What was copied of all sources.
    unsigned long long total() const { return total_; }
    /// The first bytes of this source.
    const std::string& beginning() const { return beginning_; }

    bool endsInNewline() const { return endsInNewline_; }
    /// A sink failed; said already.
    bool failed() const { return failed_; }
    /// A sink's reader has gone away.
    bool readerGone() const { return readerGone_; }

private:
    struct Sink {
        int fd_;
        std::string name_;
        std::size_t done_;  // bytes of piece_ that it has
    };

    void skip();
    bool readPiece();
    bool feed(Sink& sink);
    bool pieceIsDone() const;

    Descriptor source_;
    std::vector<Sink> sinks_;
    std::string piece_;
    off_t copied_ = 0;
    unsigned long long total_ = 0;
    std::string beginning_;
    bool endsInNewline_ = true;
    bool failed_ = false;
    bool readerGone_ = false;
};

}  // namespace tool
