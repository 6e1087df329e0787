// The demo's Debug Adapter Protocol client: it starts a debug adapter,
// talks to it over TCP on 127.0.0.1 and hands everything the adapter says
// to the window's thread.
//
// The adapter is started with "--connect 127.0.0.1:N" against a socket the
// client listens on, so no port has to be guessed. A background thread
// accepts the adapter, then reads its messages (Content-Length framing)
// and posts each one to the window as a message: the window never waits
// on the adapter. Sending is a short blocking write from the window's
// thread (a few hundred bytes on a local socket).
//
// The posted message's wParam says what happened (DapPost) and lParam
// carries what goes with it, which the receiver takes over and deletes:
//   DAP_CONNECTED  nothing
//   DAP_FAILED     std::wstring* the reason the adapter could not be reached
//   DAP_MESSAGE    nlohmann::json* a response or an event
//   DAP_CLOSED     nothing: the connection ended (the adapter went away)
#pragma once
#include <windows.h>
#include <atomic>
#include <mutex>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>

enum DapPost : WPARAM
{
    DAP_CONNECTED = 1,
    DAP_FAILED,
    DAP_MESSAGE,
    DAP_CLOSED,
};

class CDapClient
{
public:
    CDapClient() = default;
    CDapClient(const CDapClient&) = delete;
    CDapClient& operator=(const CDapClient&) = delete;
    ~CDapClient() { Close(); }

    // Starts the adapter program (a Windows path; under Wine a Linux
    // program through its Z: path) and waits for it to connect, on the
    // background thread, posting msg to hwnd as described above. False
    // (with strError) when it could not even be started.
    bool Start(HWND hwnd, UINT msg, const std::wstring& adapter, std::wstring& strError);
    // Sends a request; returns its sequence number, 0 when not connected.
    int Request(const std::string& command, const nlohmann::json& args = nlohmann::json::object());
    // Closes the connection (which ends the adapter) and waits for the
    // reader thread. Messages it posted before stay in the queue.
    void Close();
    bool Connected() const { return m_bConnected; }

    // How long the adapter has to connect after it was started.
    static const int kConnectTimeoutMs = 5000;

private:
    void Run(UINT_PTR listener);
    bool ReadMessages();
    void Post(DapPost kind, void* p);

    HWND m_hwnd = nullptr;
    UINT m_msg = 0;
    std::thread m_thread;
    std::mutex m_sendLock;
    // Winsock sockets (SOCKET), kept as their integer type so that this
    // header need not come before windows.h.
    static constexpr UINT_PTR kNoSocket = ~(UINT_PTR)0;
    UINT_PTR m_sock = kNoSocket;
    std::atomic<UINT_PTR> m_listener{ kNoSocket };
    std::atomic<bool> m_bConnected{ false };
    std::atomic<bool> m_bClosing{ false };
    int m_nSeq = 0;
};

// A Windows path as the Linux side sees it under Wine (through
// wine_get_unix_file_name); the path unchanged elsewhere.
std::string AdapterSidePath(const std::wstring& path);
// The debug adapter to start: %VELMOR_DAP% (a Windows path, or a Linux one
// under Wine), else the native build's beside the Windows one
// (build/native/bin/velmor-slang-dap from build/win64/bin).
std::wstring FindAdapter();
