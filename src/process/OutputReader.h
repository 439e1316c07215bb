#pragma once

#include "LineSplitter.h"
#include "Pipe.h"

#include <functional>
#include <memory>
#include <thread>

/// Reads a child's output on a thread of its own and passes it on line by line.
///
/// A game may print faster than the main thread stores lines, so only a little is read ahead. Each piece
/// passed on is followed by a note to the main thread, which arrives after the piece's lines. While too many
/// notes are outstanding, the output waits in the pipe; once the pipe is full, the game itself waits.
class OutputReader final {
public:
    /// `onLine` is called on the reader's thread until `finish` returns.
    explicit OutputReader(std::function<void(const QString &)> onLine);
    /// Calls `finish`.
    ~OutputReader();
    OutputReader(const OutputReader &) = delete;
    OutputReader &operator=(const OutputReader &) = delete;

    /// Opens the pipe and starts reading. Returns an errno value, 0 on success.
    int start();

    /// The descriptor that the child is to write to.
    int childEnd() const { return m_output.writeEnd.get(); }
    /// Call this once the child has its own copy.
    void closeChildEnd() { m_output.writeEnd.close(); }

    /// Call this once the child has ended. Passes on what is left in the pipe, including an unfinished last
    /// line, and blocks until that is done. Does not wait for other processes that hold the pipe open.
    void finish();

private:
    class Pace;

    void read();
    qsizetype readOnce(qsizetype most);

    Pipe m_output;
    LineSplitter m_splitter;
    const std::shared_ptr<Pace> m_pace; // shared with the outstanding notes
    std::thread m_thread;
};
