// The Debug Adapter Protocol's base layer: messages framed by a
// Content-Length header and carried as JSON, over a pair of file
// descriptors (the adapter's stdin and stdout, or one TCP socket). Nothing
// here knows what is being debugged: a reader thread turns the byte stream
// into messages and queues them, and any thread may send responses and
// events, each written whole.
#pragma once
#include <nlohmann/json.hpp>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>

using json = nlohmann::json;

// A request the adapter cannot carry out: answered with success false and
// this message.
class CDapError : public std::runtime_error
{
public:
    explicit CDapError(const std::string& strMessage) : std::runtime_error(strMessage) {}
};

// One incoming item: a message, a framing or JSON error the reader found,
// or the end of the stream.
struct CDapIncoming
{
    enum Kind { MESSAGE, BAD_INPUT, END } nKind = END;
    json message;
    std::string strError;
};

// Reads framed messages from a byte stream. Split from the channel so that
// the framing rules can be tested on strings.
class CDapFramer
{
public:
    // Largest body accepted; a longer Content-Length is an error.
    static const size_t kMaxBody = 64u << 20;
    // Feeds bytes; complete items are appended to out.
    void Feed(const char* p, size_t n, std::deque<CDapIncoming>& out);

private:
    bool ParseHeader(const std::string& header, size_t& nLength, std::string& strError) const;
    std::string m_buffer;
    size_t m_nBodyLength = 0;
    bool m_bInBody = false;
};

class CDapChannel
{
public:
    // inFd and outFd may be the same socket. The channel does not close them.
    CDapChannel(int inFd, int outFd);
    ~CDapChannel();
    CDapChannel(const CDapChannel&) = delete;
    CDapChannel& operator=(const CDapChannel&) = delete;

    // Starts the reader thread. onArrival is called on it after each item
    // is queued (the session uses it to notice requests while a script runs).
    void Start(std::function<void()> onArrival);
    // The next item; waits up to nTimeoutMs (-1: forever). False on timeout.
    bool Next(CDapIncoming& item, int nTimeoutMs = -1);
    bool HasPending() const;

    // Sending; each message is written whole, from any thread. The channel
    // numbers them. Writes to a closed peer are dropped.
    void Send(json message);
    void Respond(const json& request, const json& body = json::object());
    void RespondError(const json& request, const std::string& strMessage);
    // An answer to input that was no request (no seq, bad JSON, bad header).
    void RespondBadInput(const std::string& strMessage);
    void Event(const std::string& strEvent, const json& body = json::object());
    bool PeerGone() const { return m_bPeerGone; }

private:
    void ReadLoop();

    int m_inFd, m_outFd;
    std::thread m_reader;
    std::function<void()> m_onArrival;
    mutable std::mutex m_queueMutex;
    std::condition_variable m_queueCv;
    std::deque<CDapIncoming> m_queue;
    std::mutex m_sendMutex;
    long long m_nSeq = 1;
    std::atomic<bool> m_bPeerGone{false};
    int m_wakePipe[2] = {-1, -1}; // ends the reader on destruction
};
