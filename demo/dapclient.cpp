// The demo's Debug Adapter Protocol client: the adapter's process, the
// socket and the reader thread (see dapclient.h).
#include <winsock2.h>
#include <ws2tcpip.h>
#include "dapclient.h"

using nlohmann::json;

namespace {

std::string Utf8(const std::wstring& w)
{
    int n = WideCharToMultiByte(CP_UTF8, 0, w.c_str(), (int)w.size(), nullptr, 0, nullptr, nullptr);
    std::string s((size_t)n, '\0');
    WideCharToMultiByte(CP_UTF8, 0, w.c_str(), (int)w.size(), s.data(), n, nullptr, nullptr);
    return s;
}

bool SendAll(SOCKET s, const std::string& data)
{
    size_t done = 0;
    while (done < data.size()) {
        int n = send(s, data.data() + done, (int)(data.size() - done), 0);
        if (n <= 0)
            return false;
        done += (size_t)n;
    }
    return true;
}

bool FileExists(const std::wstring& path)
{
    DWORD a = GetFileAttributesW(path.c_str());
    return a != INVALID_FILE_ATTRIBUTES && !(a & FILE_ATTRIBUTE_DIRECTORY);
}

} // namespace

std::string AdapterSidePath(const std::wstring& path)
{
    // Wine's kernel32 exports the mapping of its drives to Linux paths.
    typedef char*(__cdecl * UnixName)(const wchar_t*);
    static UnixName unixName =
        (UnixName)(void*)GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "wine_get_unix_file_name");
    if (unixName) {
        if (char* p = unixName(path.c_str())) {
            std::string s(p);
            HeapFree(GetProcessHeap(), 0, p);
            return s;
        }
    }
    return Utf8(path);
}

std::wstring FindAdapter()
{
    wchar_t env[MAX_PATH * 2];
    DWORD n = GetEnvironmentVariableW(L"VELMOR_DAP", env, MAX_PATH * 2);
    if (n > 0 && n < MAX_PATH * 2) {
        std::wstring p(env);
        // A Linux path (the environment of a Wine session): through Z:.
        if (!p.empty() && p[0] == L'/') {
            for (wchar_t& c : p)
                if (c == L'/')
                    c = L'\\';
            p = L"Z:" + p;
        }
        return p;
    }
    wchar_t exe[MAX_PATH];
    GetModuleFileNameW(nullptr, exe, MAX_PATH);
    std::wstring dir(exe);
    dir.erase(dir.find_last_of(L"\\/") + 1);
    // build/win64/bin/ -> build/native/bin/; a Windows build of the adapter
    // would sit beside the demo.
    const std::wstring candidates[] = {
        dir + L"velmor-slang-dap.exe",
        dir + L"..\\..\\native\\bin\\velmor-slang-dap",
    };
    for (const std::wstring& c : candidates)
        if (FileExists(c))
            return c;
    return candidates[1];
}

bool CDapClient::Start(HWND hwnd, UINT msg, const std::wstring& adapter, std::wstring& strError)
{
    Close();
    m_hwnd = hwnd;
    m_msg = msg;
    m_nSeq = 0;
    m_bClosing = false;
    if (!FileExists(adapter)) {
        strError = L"The debug adapter was not found at " + adapter + L".";
        return false;
    }
    WSADATA wsa;
    if (WSAStartup(MAKEWORD(2, 2), &wsa) != 0) {
        strError = L"Winsock could not be started.";
        return false;
    }
    SOCKET listener = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    sockaddr_in addr = {};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    addr.sin_port = 0;
    int len = sizeof addr;
    if (listener == INVALID_SOCKET || bind(listener, (sockaddr*)&addr, sizeof addr) != 0 ||
        listen(listener, 1) != 0 || getsockname(listener, (sockaddr*)&addr, &len) != 0) {
        if (listener != INVALID_SOCKET)
            closesocket(listener);
        strError = L"No local port could be opened for the debug adapter.";
        return false;
    }
    const int port = ntohs(addr.sin_port);

    std::wstring cmd = L"\"" + adapter + L"\" --connect 127.0.0.1:" + std::to_wstring(port);
    STARTUPINFOW si = {};
    si.cb = sizeof si;
    PROCESS_INFORMATION pi = {};
    if (!CreateProcessW(adapter.c_str(), cmd.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW, nullptr, nullptr, &si,
                        &pi)) {
        closesocket(listener);
        strError = L"The debug adapter " + adapter + L" could not be started (error " +
                   std::to_wstring(GetLastError()) + L").";
        return false;
    }
    // The process ends with the connection (under Wine the handle does not
    // even follow the Linux process): nothing to keep.
    CloseHandle(pi.hThread);
    CloseHandle(pi.hProcess);
    m_listener = listener;
    m_thread = std::thread(&CDapClient::Run, this, listener);
    return true;
}

void CDapClient::Post(DapPost kind, void* p)
{
    if (!PostMessageW(m_hwnd, m_msg, kind, (LPARAM)p)) {
        if (kind == DAP_MESSAGE)
            delete (json*)p;
        else if (kind == DAP_FAILED)
            delete (std::wstring*)p;
    }
}

void CDapClient::Run(UINT_PTR listener)
{
    // Wait for the adapter to connect, without blocking for good: Close
    // closes the listener, which ends the wait.
    fd_set set;
    FD_ZERO(&set);
    FD_SET(listener, &set);
    timeval tv = { kConnectTimeoutMs / 1000, (kConnectTimeoutMs % 1000) * 1000 };
    const int ready = select(0, &set, nullptr, nullptr, &tv);
    SOCKET s = ready == 1 ? accept(listener, nullptr, nullptr) : INVALID_SOCKET;
    if (m_listener.exchange(INVALID_SOCKET) != INVALID_SOCKET)
        closesocket(listener);
    if (s == INVALID_SOCKET) {
        if (!m_bClosing)
            Post(DAP_FAILED, new std::wstring(L"The debug adapter did not connect within " +
                                              std::to_wstring(kConnectTimeoutMs / 1000) + L" s."));
        return;
    }
    {
        std::lock_guard<std::mutex> lock(m_sendLock);
        m_sock = s;
        m_bConnected = true;
    }
    Post(DAP_CONNECTED, nullptr);
    ReadMessages();
    m_bConnected = false;
    if (!m_bClosing)
        Post(DAP_CLOSED, nullptr);
}

// Reads "Content-Length: n\r\n\r\n" and n bytes of JSON, over and over,
// until the connection ends.
bool CDapClient::ReadMessages()
{
    std::string buf;
    char chunk[16384];
    for (;;) {
        size_t end;
        while ((end = buf.find("\r\n\r\n")) != std::string::npos) {
            size_t length = 0;
            const size_t at = buf.find("Content-Length:");
            if (at == std::string::npos || at > end)
                return false;
            length = (size_t)strtoull(buf.c_str() + at + 15, nullptr, 10);
            if (buf.size() < end + 4 + length)
                break;
            json* j = new json(json::parse(buf.begin() + (std::ptrdiff_t)(end + 4),
                                           buf.begin() + (std::ptrdiff_t)(end + 4 + length), nullptr, false));
            buf.erase(0, end + 4 + length);
            if (j->is_discarded())
                delete j;
            else
                Post(DAP_MESSAGE, j);
        }
        const int n = recv(m_sock, chunk, sizeof chunk, 0);
        if (n <= 0)
            return true;
        buf.append(chunk, (size_t)n);
    }
}

int CDapClient::Request(const std::string& command, const json& args)
{
    std::lock_guard<std::mutex> lock(m_sendLock);
    if (!m_bConnected)
        return 0;
    json j = { { "seq", ++m_nSeq }, { "type", "request" }, { "command", command }, { "arguments", args } };
    const std::string body = j.dump();
    const std::string msg = "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
    if (!SendAll(m_sock, msg))
        return 0;
    return m_nSeq;
}

void CDapClient::Close()
{
    m_bClosing = true;
    SOCKET l = m_listener.exchange(INVALID_SOCKET);
    if (l != INVALID_SOCKET)
        closesocket(l);
    {
        std::lock_guard<std::mutex> lock(m_sendLock);
        if (m_sock != INVALID_SOCKET)
            shutdown(m_sock, SD_BOTH);
    }
    if (m_thread.joinable())
        m_thread.join();
    if (m_sock != INVALID_SOCKET) {
        closesocket(m_sock);
        m_sock = INVALID_SOCKET;
    }
    m_bConnected = false;
}
