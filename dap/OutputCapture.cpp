#include "OutputCapture.h"
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

bool COutputCapture::Start(Sink sink)
{
    m_sink = std::move(sink);
    if (pipe(m_wakePipe) != 0)
        return false;
    for (int i = 0; i < 2; ++i) {
        int p[2];
        if (pipe(p) != 0)
            return false;
        fflush(i == 0 ? stdout : stderr);
        if (dup2(p[1], i + 1) < 0)
            return false;
        close(p[1]);
        fcntl(p[0], F_SETFL, fcntl(p[0], F_GETFL) | O_NONBLOCK);
        fcntl(p[0], F_SETFD, FD_CLOEXEC);
        m_readFds[i] = p[0];
    }
    // A script's lines reach the client as they are printed.
    setvbuf(stdout, nullptr, _IOLBF, 0);
    m_thread = std::thread([this] { Pump(); });
    return true;
}

COutputCapture::~COutputCapture()
{
    if (m_thread.joinable()) {
        (void)!write(m_wakePipe[1], "x", 1);
        m_thread.join();
    }
    for (int fd : {m_readFds[0], m_readFds[1], m_wakePipe[0], m_wakePipe[1]})
        if (fd >= 0)
            close(fd);
}

bool COutputCapture::ReadAvailable(int fd, const char* pszCategory)
{
    char buf[8192];
    std::string text;
    for (;;) {
        const ssize_t n = read(fd, buf, sizeof buf);
        if (n > 0) {
            text.append(buf, (size_t)n);
            if (text.size() > (1u << 20))
                break;
            continue;
        }
        if (n < 0 && errno == EINTR)
            continue;
        break;
    }
    if (!text.empty())
        m_sink(pszCategory, text);
    return true;
}

void COutputCapture::Drain()
{
    fflush(stdout);
    fflush(stderr);
    std::lock_guard<std::mutex> lk(m_mutex);
    ReadAvailable(m_readFds[0], "stdout");
    ReadAvailable(m_readFds[1], "stderr");
}

void COutputCapture::Pump()
{
    for (;;) {
        pollfd fds[3] = {{m_readFds[0], POLLIN, 0}, {m_readFds[1], POLLIN, 0}, {m_wakePipe[0], POLLIN, 0}};
        const int r = poll(fds, 3, -1);
        if (r < 0 && errno == EINTR)
            continue;
        if (r < 0 || fds[2].revents)
            return;
        std::lock_guard<std::mutex> lk(m_mutex);
        if (fds[0].revents)
            ReadAvailable(m_readFds[0], "stdout");
        if (fds[1].revents)
            ReadAvailable(m_readFds[1], "stderr");
    }
}
