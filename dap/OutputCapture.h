// What the script writes to its stdout and stderr, taken off the
// adapter's own descriptors 1 and 2 (which the protocol must not share)
// through pipes, and handed on as text with its stream's name.
#pragma once
#include <functional>
#include <mutex>
#include <string>
#include <thread>

class COutputCapture
{
public:
    // sink(category, text): "stdout" or "stderr".
    using Sink = std::function<void(const char*, const std::string&)>;
    // Moves descriptors 1 and 2 onto pipes; false when that fails.
    bool Start(Sink sink);
    ~COutputCapture();
    // Flushes C's streams and hands on everything written so far, before
    // the caller sends what must follow it (a stop, the end of the run).
    void Drain();

private:
    void Pump();
    bool ReadAvailable(int fd, const char* pszCategory);

    Sink m_sink;
    int m_readFds[2] = {-1, -1};
    int m_wakePipe[2] = {-1, -1};
    std::mutex m_mutex; // one reader at a time keeps the order
    std::thread m_thread;
};
