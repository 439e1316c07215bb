#pragma once

#include "FileDescriptor.h"
#include "LineSplitter.h"

#include <functional>
#include <memory>
#include <thread>

/// Reads what a child prints, on a thread of its own, and hands it on line by line.
///
/// A game may print faster than the main thread stores lines. So only a little is read ahead: every piece
/// handed on is followed by a note to the main thread, which reaches it after the lines, and while notes are
/// out the rest waits in the pipe and, once that is full, the game itself.
class OutputReader final {
public:
    /// `onLine` is called on the reader's thread, up to the return of `finish`.
    explicit OutputReader(std::function<void(const QString &)> onLine);
    /// As finish.
    ~OutputReader();
    OutputReader(const OutputReader &) = delete;
    OutputReader &operator=(const OutputReader &) = delete;

    /// Opens the pipe and begins to read. An errno value, 0 for success.
    int start();

    /// The descriptor that the child is to write to.
    int childEnd() const { return m_output.writeEnd.get(); }
    /// To be called once the child has its own copy.
    void closeChildEnd() { m_output.writeEnd.close(); }

    /// The child has ended: hands on what it left in the pipe, and an unfinished last line, and blocks until
    /// that is done. Does not wait for others who hold the pipe open.
    void finish();

private:
    class Pace;

    void read();
    qsizetype readOnce(qsizetype most);

    Pipe m_output;
    LineSplitter m_splitter;
    const std::shared_ptr<Pace> m_pace; // shared with the notes that are under way
    std::thread m_thread;
};
