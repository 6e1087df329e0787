// Framing, the reader thread and the writers of the protocol's messages.
#include "DapProtocol.h"
#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace {

const char kHeaderEnd[] = "\r\n\r\n";

bool WriteAll(int fd, const char* p, size_t n)
{
    while (n) {
        const ssize_t w = write(fd, p, n);
        if (w < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        p += w;
        n -= (size_t)w;
    }
    return true;
}

std::string Trim(const std::string& s)
{
    size_t b = 0, e = s.size();
    while (b < e && (s[b] == ' ' || s[b] == '\t'))
        ++b;
    while (e > b && (s[e - 1] == ' ' || s[e - 1] == '\t'))
        --e;
    return s.substr(b, e - b);
}

} // namespace

bool CDapFramer::ParseHeader(const std::string& header, size_t& nLength, std::string& strError) const
{
    // Header fields are "Name: value" lines; Content-Length is the only
    // one required, others (Content-Type) are ignored.
    bool bFound = false;
    size_t pos = 0;
    while (pos < header.size()) {
        size_t eol = header.find("\r\n", pos);
        if (eol == std::string::npos)
            eol = header.size();
        const std::string line = header.substr(pos, eol - pos);
        pos = eol + 2;
        const size_t colon = line.find(':');
        if (colon == std::string::npos) {
            strError = "malformed header line \"" + line.substr(0, 80) + "\" (expected Name: value)";
            return false;
        }
        const std::string name = Trim(line.substr(0, colon));
        const std::string value = Trim(line.substr(colon + 1));
        if (strcasecmp(name.c_str(), "Content-Length") == 0) {
            if (value.empty() || value.size() > 12 || value.find_first_not_of("0123456789") != std::string::npos) {
                strError = "Content-Length \"" + value.substr(0, 40) + "\" is not a number";
                return false;
            }
            nLength = std::stoull(value);
            if (nLength > kMaxBody) {
                strError = "Content-Length " + value + " exceeds the limit of " + std::to_string(kMaxBody) + " bytes";
                return false;
            }
            bFound = true;
        }
    }
    if (!bFound)
        strError = "header without Content-Length";
    return bFound;
}

void CDapFramer::Feed(const char* p, size_t n, std::deque<CDapIncoming>& out)
{
    m_buffer.append(p, n);
    for (;;) {
        if (!m_bInBody) {
            const size_t end = m_buffer.find(kHeaderEnd);
            if (end == std::string::npos) {
                // A header that never ends: drop what cannot be one.
                if (m_buffer.size() > 64 * 1024) {
                    CDapIncoming bad;
                    bad.nKind = CDapIncoming::BAD_INPUT;
                    bad.strError = "header longer than 64 KiB without an empty line";
                    out.push_back(std::move(bad));
                    m_buffer.clear();
                }
                return;
            }
            const std::string header = m_buffer.substr(0, end);
            m_buffer.erase(0, end + 4);
            std::string err;
            size_t len = 0;
            if (!ParseHeader(header, len, err)) {
                // The header block is skipped; the next one starts after it.
                CDapIncoming bad;
                bad.nKind = CDapIncoming::BAD_INPUT;
                bad.strError = err;
                out.push_back(std::move(bad));
                continue;
            }
            m_nBodyLength = len;
            m_bInBody = true;
        }
        if (m_buffer.size() < m_nBodyLength)
            return;
        CDapIncoming item;
        try {
            item.message = json::parse(m_buffer.begin(), m_buffer.begin() + (std::ptrdiff_t)m_nBodyLength);
            item.nKind = CDapIncoming::MESSAGE;
        } catch (const json::exception& e) {
            item.nKind = CDapIncoming::BAD_INPUT;
            item.strError = std::string("malformed JSON: ") + e.what();
        }
        m_buffer.erase(0, m_nBodyLength);
        m_bInBody = false;
        out.push_back(std::move(item));
    }
}

CDapChannel::CDapChannel(int inFd, int outFd) : m_inFd(inFd), m_outFd(outFd)
{
    if (pipe(m_wakePipe) != 0)
        m_wakePipe[0] = m_wakePipe[1] = -1;
}

CDapChannel::~CDapChannel()
{
    if (m_wakePipe[1] >= 0)
        (void)!write(m_wakePipe[1], "x", 1);
    if (m_reader.joinable())
        m_reader.join();
    for (int fd : m_wakePipe)
        if (fd >= 0)
            close(fd);
}

void CDapChannel::Start(std::function<void()> onArrival)
{
    m_onArrival = std::move(onArrival);
    m_reader = std::thread([this] { ReadLoop(); });
}

void CDapChannel::ReadLoop()
{
    CDapFramer framer;
    char buf[65536];
    for (;;) {
        pollfd fds[2] = {{m_inFd, POLLIN, 0}, {m_wakePipe[0], POLLIN, 0}};
        const int r = poll(fds, m_wakePipe[0] >= 0 ? 2 : 1, -1);
        if (r < 0 && errno == EINTR)
            continue;
        if (r < 0 || (fds[1].revents & POLLIN))
            break;
        const ssize_t n = read(m_inFd, buf, sizeof buf);
        if (n < 0 && errno == EINTR)
            continue;
        std::deque<CDapIncoming> items;
        if (n <= 0) {
            items.emplace_back(); // END
        } else {
            framer.Feed(buf, (size_t)n, items);
        }
        const bool bEnd = n <= 0;
        if (!items.empty()) {
            {
                std::lock_guard<std::mutex> lk(m_queueMutex);
                for (auto& it : items)
                    m_queue.push_back(std::move(it));
            }
            m_queueCv.notify_all();
            if (m_onArrival)
                m_onArrival();
        }
        if (bEnd) {
            m_bPeerGone = true;
            break;
        }
    }
}

bool CDapChannel::Next(CDapIncoming& item, int nTimeoutMs)
{
    std::unique_lock<std::mutex> lk(m_queueMutex);
    auto ready = [this] { return !m_queue.empty(); };
    if (nTimeoutMs < 0)
        m_queueCv.wait(lk, ready);
    else if (!m_queueCv.wait_for(lk, std::chrono::milliseconds(nTimeoutMs), ready))
        return false;
    item = std::move(m_queue.front());
    m_queue.pop_front();
    return true;
}

bool CDapChannel::HasPending() const
{
    std::lock_guard<std::mutex> lk(m_queueMutex);
    return !m_queue.empty();
}

void CDapChannel::Send(json message)
{
    std::lock_guard<std::mutex> lk(m_sendMutex);
    message["seq"] = m_nSeq++;
    // Invalid UTF-8 in a script's strings must not make the message fail.
    const std::string body = message.dump(-1, ' ', false, json::error_handler_t::replace);
    const std::string frame = "Content-Length: " + std::to_string(body.size()) + kHeaderEnd + body;
    if (!WriteAll(m_outFd, frame.data(), frame.size()))
        m_bPeerGone = true;
}

void CDapChannel::Respond(const json& request, const json& body)
{
    json r = {{"type", "response"},
              {"request_seq", request.value("seq", 0)},
              {"success", true},
              {"command", request.value("command", "")}};
    if (!body.empty())
        r["body"] = body;
    Send(std::move(r));
}

void CDapChannel::RespondError(const json& request, const std::string& strMessage)
{
    json seq = request.is_object() && request.contains("seq") && request["seq"].is_number_integer() ? request["seq"] : json(0);
    std::string command = request.is_object() && request.contains("command") && request["command"].is_string()
                              ? request["command"].get<std::string>()
                              : std::string();
    Send({{"type", "response"},
          {"request_seq", seq},
          {"success", false},
          {"command", command},
          {"message", strMessage}});
}

void CDapChannel::RespondBadInput(const std::string& strMessage)
{
    RespondError(json::object(), strMessage);
}

void CDapChannel::Event(const std::string& strEvent, const json& body)
{
    json e = {{"type", "event"}, {"event", strEvent}};
    if (!body.empty())
        e["body"] = body;
    Send(std::move(e));
}
