// velmor-slang-dap: the S-Lang debug adapter. With no arguments (or
// --stdio) it speaks the protocol on stdin and stdout; --port N listens on
// 127.0.0.1:N for one client; --connect HOST:PORT connects to a client
// that listens.
#include "DebugSession.h"
#include <arpa/inet.h>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

const char kUsage[] =
    "usage: velmor-slang-dap [--stdio | --port N | --connect HOST:PORT]\n"
    "Debugs S-Lang scripts through the Debug Adapter Protocol.\n"
    "  (no option), --stdio  speak the protocol on stdin and stdout\n"
    "  --port N              listen on 127.0.0.1:N for one client\n"
    "  --connect HOST:PORT   connect to a client listening at HOST:PORT\n"
    "The client launches a script with the launch request: program, args, cwd, stopOnEntry.\n";

bool ParsePort(const char* s, int& port)
{
    char* end = nullptr;
    const long n = strtol(s, &end, 10);
    if (!*s || *end || n < 0 || n > 65535)
        return false;
    port = (int)n;
    return true;
}

void NoDelay(int fd)
{
    int one = 1;
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
}

int Listen(int port)
{
    const int s = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    int one = 1;
    setsockopt(s, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_port = htons((uint16_t)port);
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (s < 0 || bind(s, (sockaddr*)&a, sizeof a) != 0 || listen(s, 1) != 0) {
        fprintf(stderr, "velmor-slang-dap: cannot listen on 127.0.0.1:%d: %s\n", port, strerror(errno));
        return -1;
    }
    if (port == 0) { // the port the system chose, for whoever started us
        socklen_t len = sizeof a;
        getsockname(s, (sockaddr*)&a, &len);
    }
    fprintf(stderr, "velmor-slang-dap: listening on 127.0.0.1:%d\n", ntohs(a.sin_port));
    const int c = accept4(s, nullptr, nullptr, SOCK_CLOEXEC);
    close(s);
    if (c >= 0)
        NoDelay(c);
    return c;
}

int Connect(const std::string& target)
{
    const size_t colon = target.rfind(':');
    int port = 0;
    if (colon == std::string::npos || !ParsePort(target.c_str() + colon + 1, port)) {
        fprintf(stderr, "velmor-slang-dap: --connect needs HOST:PORT\n");
        return -1;
    }
    const std::string host = target.substr(0, colon);
    addrinfo hints{}, *res = nullptr;
    hints.ai_socktype = SOCK_STREAM;
    if (getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &res) != 0 || !res) {
        fprintf(stderr, "velmor-slang-dap: cannot resolve %s\n", host.c_str());
        return -1;
    }
    int s = -1;
    for (addrinfo* p = res; p; p = p->ai_next) {
        s = socket(p->ai_family, p->ai_socktype | SOCK_CLOEXEC, p->ai_protocol);
        if (s >= 0 && connect(s, p->ai_addr, p->ai_addrlen) == 0)
            break;
        if (s >= 0)
            close(s);
        s = -1;
    }
    freeaddrinfo(res);
    if (s < 0)
        fprintf(stderr, "velmor-slang-dap: cannot connect to %s: %s\n", target.c_str(), strerror(errno));
    else
        NoDelay(s);
    return s;
}

} // namespace

int main(int argc, char** argv)
{
    int inFd = -1, outFd = -1;
    if (argc == 1 || (argc == 2 && strcmp(argv[1], "--stdio") == 0)) {
        // The protocol keeps the real stdin and stdout; the script gets
        // /dev/null and pipes (OutputCapture).
        inFd = fcntl(0, F_DUPFD_CLOEXEC, 3);
        outFd = fcntl(1, F_DUPFD_CLOEXEC, 3);
    } else if (argc == 2 && (strcmp(argv[1], "--help") == 0 || strcmp(argv[1], "-h") == 0)) {
        fputs(kUsage, stdout);
        return 0;
    } else if (argc == 3 && strcmp(argv[1], "--port") == 0) {
        int port = 0;
        if (!ParsePort(argv[2], port)) {
            fputs(kUsage, stderr);
            return 2;
        }
        inFd = outFd = Listen(port);
    } else if (argc == 3 && strcmp(argv[1], "--connect") == 0) {
        inFd = outFd = Connect(argv[2]);
    } else {
        fputs(kUsage, stderr);
        return 2;
    }
    if (inFd < 0 || outFd < 0)
        return 1;
    const int null = open("/dev/null", O_RDONLY);
    if (null >= 0) {
        dup2(null, 0);
        close(null);
    }
    signal(SIGPIPE, SIG_IGN);
    CDapChannel channel(inFd, outFd);
    CDebugSession session(channel);
    return session.Run();
}
