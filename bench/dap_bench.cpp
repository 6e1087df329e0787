// Native benchmark of the S-Lang debug adapter, driven as a client drives
// it: the program velmor-slang-dap started with pipes, the protocol's
// messages timed from the request sent to the event read.
//
//   DAP step round trip: median ms from a next request to its stopped event
//   DAP launch to first stop: median ms from launch to the stopped event at
//     a breakpoint on line 2 (a new adapter each run)
//   DAP script overhead with breakpoints set, none hit: a loop-heavy script's
//     own time under the adapter, breakpoints set in a function it never
//     calls, over its time under slsh (the same S-Lang library, no adapter)
//   DAP variables first page of a 100000-element array: median ms of the
//     variables request for elements 0..99
//
// Usage: velmor_bench_dap [ADAPTER]   (default: velmor-slang-dap beside this program)
#include "BenchUtil.h"
#include "dap/DapProtocol.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <spawn.h>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;

double MsSince(Clock::time_point t0)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - t0).count();
}

// One adapter process and the client's side of its pipes.
class CAdapter
{
public:
    explicit CAdapter(const std::string& path)
    {
        int in[2], out[2];
        if (pipe(in) != 0 || pipe(out) != 0)
            throw std::runtime_error("pipe");
        posix_spawn_file_actions_t fa;
        posix_spawn_file_actions_init(&fa);
        posix_spawn_file_actions_adddup2(&fa, in[0], 0);
        posix_spawn_file_actions_adddup2(&fa, out[1], 1);
        posix_spawn_file_actions_addclose(&fa, in[1]);
        posix_spawn_file_actions_addclose(&fa, out[0]);
        char* argv[] = {(char*)path.c_str(), nullptr};
        if (posix_spawn(&m_pid, path.c_str(), &fa, nullptr, argv, environ) != 0)
            throw std::runtime_error("cannot start " + path);
        posix_spawn_file_actions_destroy(&fa);
        close(in[0]);
        close(out[1]);
        m_to = in[1];
        m_from = out[0];
    }
    ~CAdapter()
    {
        close(m_to);
        close(m_from);
        int st;
        waitpid(m_pid, &st, 0);
    }

    void Send(const std::string& command, const json& args = json::object())
    {
        json m = {{"seq", ++m_seq}, {"type", "request"}, {"command", command}, {"arguments", args}};
        const std::string body = m.dump();
        const std::string frame = "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
        if (write(m_to, frame.data(), frame.size()) != (ssize_t)frame.size())
            throw std::runtime_error("write to the adapter failed");
    }
    // Reads until an event of that name (or the response to that command).
    json WaitEvent(const std::string& event) { return Wait("event", "event", event); }
    json WaitResponse(const std::string& command)
    {
        json r = Wait("response", "command", command);
        if (!r.value("success", false))
            throw std::runtime_error(command + " failed: " + r.value("message", ""));
        return r;
    }
    json Request(const std::string& command, const json& args = json::object())
    {
        Send(command, args);
        return WaitResponse(command);
    }
    std::string Output() const { return m_output; }

private:
    json Wait(const char* type, const char* key, const std::string& value)
    {
        for (;;) {
            while (!m_items.empty()) {
                CDapIncoming item = std::move(m_items.front());
                m_items.pop_front();
                if (item.nKind != CDapIncoming::MESSAGE)
                    continue;
                const json& m = item.message;
                if (m.value("type", "") == "event" && m.value("event", "") == "output")
                    m_output += m["body"].value("output", "");
                if (m.value("type", "") == type && m.value(key, "") == value)
                    return m;
            }
            char buf[65536];
            const ssize_t n = read(m_from, buf, sizeof buf);
            if (n <= 0)
                throw std::runtime_error("the adapter ended while waiting for " + value);
            m_framer.Feed(buf, (size_t)n, m_items);
        }
    }

    pid_t m_pid = 0;
    int m_to = -1, m_from = -1;
    long long m_seq = 0;
    CDapFramer m_framer;
    std::deque<CDapIncoming> m_items;
    std::string m_output;
};

std::string WriteScript(const std::string& dir, const char* name, const char* text)
{
    const std::string path = dir + "/" + name;
    std::ofstream(path) << text;
    return path;
}

// Line 2 is the first statement; step() runs a short loop body per call.
const char kStepScript[] = "variable total = 0, k;\n"       // 1
                           "total = 1;\n"                   // 2
                           "define step (x)\n"              // 3
                           "{\n"                            // 4
                           "   variable y = x * 2;\n"       // 5
                           "   return y + 1;\n"             // 6
                           "}\n"                            // 7
                           "variable big = [0:99999];\n"    // 8
                           "for (k = 0; k < 100000; k++)\n" // 9
                           "  {\n"                          // 10
                           "     total += step (k);\n"      // 11
                           "     total = total mod 1000;\n" // 12
                           "  }\n";                         // 13

// The loop of the engine's own benchmark: 2 million passes in a function
// called 20 times; never() holds the breakpoints. The script times itself.
const char kOverheadScript[] = "define never ()\n"                  // 1
                               "{\n"                                // 2
                               "   return 0;\n"                     // 3
                               "}\n"                                // 4
                               "define work (n)\n"                  // 5
                               "{\n"                                // 6
                               "   variable s = 0, i;\n"            // 7
                               "   for (i = 0; i < n; i++)\n"       // 8
                               "     {\n"                           // 9
                               "        s += i mod 7;\n"            // 10
                               "        if (s > 1000) s -= 1000;\n" // 11
                               "     }\n"                           // 12
                               "   return s;\n"                     // 13
                               "}\n"                                // 14
                               "tic ();\n"                          // 15
                               "variable total = 0, k;\n"           // 16
                               "for (k = 0; k < 20; k++)\n"         // 17
                               "  total += work (100000);\n"        // 18
                               "vmessage (\"elapsed %.6f\", toc ());\n";

void Start(CAdapter& a, const std::string& program, const json& breakpoints)
{
    a.Request("initialize", {{"adapterID", "slang"}});
    a.Request("launch", {{"program", program}});
    a.Request("setBreakpoints", {{"source", {{"path", program}}}, {"breakpoints", breakpoints}});
    a.Send("configurationDone");
}

double ElapsedFrom(const std::string& output)
{
    const size_t at = output.find("elapsed ");
    if (at == std::string::npos)
        throw std::runtime_error("the script printed no time: " + output);
    return std::atof(output.c_str() + at + 8) * 1000.0;
}

} // namespace

int main(int argc, char** argv)
{
    std::string adapter;
    if (argc > 1) {
        adapter = argv[1];
    } else {
        std::string self = argv[0];
        const size_t slash = self.rfind('/');
        adapter = (slash == std::string::npos ? std::string(".") : self.substr(0, slash)) + "/velmor-slang-dap";
    }
    char tmpl[] = "/tmp/velmor-dap-bench-XXXXXX";
    const char* dir = mkdtemp(tmpl);
    if (!dir)
        return 1;
    try {
        const std::string stepPath = WriteScript(dir, "step.sl", kStepScript);
        const std::string overPath = WriteScript(dir, "overhead.sl", kOverheadScript);

        // Launch to the first stop, a new adapter each time.
        std::vector<double> launch, fromStart;
        for (int run = 0; run < 7; ++run) {
            const auto tStart = Clock::now();
            CAdapter a(adapter);
            a.Request("initialize", {{"adapterID", "slang"}});
            const auto t0 = Clock::now();
            a.Send("launch", {{"program", stepPath}});
            a.Send("setBreakpoints", {{"source", {{"path", stepPath}}}, {"breakpoints", json::array({{{"line", 2}}})}});
            a.Send("configurationDone");
            a.WaitEvent("stopped");
            launch.push_back(MsSince(t0));
            fromStart.push_back(MsSince(tStart));
            a.Send("disconnect");
        }
        std::printf("DAP launch to first stop: %.2f ms (median of %zu adapters; from the adapter's start, S-Lang and "
                    "slsh's startup file loaded: %.1f ms)\n",
                    bench::Median(launch), launch.size(), bench::Median(fromStart));

        // Steps, and the array's first page, in one session.
        {
            CAdapter a(adapter);
            Start(a, stepPath, json::array({{{"line", 11}}}));
            a.WaitEvent("stopped");
            a.Request("setBreakpoints", {{"source", {{"path", stepPath}}}, {"breakpoints", json::array()}});
            std::vector<double> steps;
            for (int i = 0; i < 300; ++i) {
                const auto t0 = Clock::now();
                a.Send("next", {{"threadId", 1}});
                a.WaitEvent("stopped");
                steps.push_back(MsSince(t0));
            }
            std::printf("DAP step round trip: %.3f ms (median of %zu steps over a loop calling a function; p90 %.3f ms)\n",
                        bench::Median(steps), steps.size(), bench::Percentile(steps, 90));

            json frames = a.Request("stackTrace", {{"threadId", 1}});
            json scopes = a.Request("scopes", {{"frameId", frames["body"]["stackFrames"][0]["id"]}});
            int globals = 0;
            for (const auto& s : scopes["body"]["scopes"])
                if (s["name"] == "Globals")
                    globals = s["variablesReference"];
            json gv = a.Request("variables", {{"variablesReference", globals}});
            int big = 0;
            for (const auto& v : gv["body"]["variables"])
                if (v["name"] == "big")
                    big = v["variablesReference"];
            std::vector<double> pages;
            size_t count = 0;
            for (int i = 0; i < 50; ++i) {
                const auto t0 = Clock::now();
                json page = a.Request("variables", {{"variablesReference", big}, {"filter", "indexed"}, {"start", 0}, {"count", 100}});
                pages.push_back(MsSince(t0));
                count = page["body"]["variables"].size();
            }
            if (count != 100)
                throw std::runtime_error("the first page held " + std::to_string(count) + " elements");
            std::printf("DAP variables first page of a 100000-element array: %.3f ms (median of %zu requests of 100 elements)\n",
                        bench::Median(pages), pages.size());
            a.Send("disconnect");
        }

        // The script's own time under the adapter and under slsh.
        std::vector<double> withAdapter, plain;
        for (int run = 0; run < 5; ++run) {
            CAdapter a(adapter);
            Start(a, overPath, json::array({{{"line", 3}}}));
            a.WaitEvent("terminated");
            withAdapter.push_back(ElapsedFrom(a.Output()));
            a.Send("disconnect");
            const std::string cmd = "slsh " + overPath;
            FILE* p = popen(cmd.c_str(), "r");
            std::string out;
            char buf[256];
            while (p && fgets(buf, sizeof buf, p))
                out += buf;
            if (!p || pclose(p) != 0)
                throw std::runtime_error("slsh failed: " + out);
            plain.push_back(ElapsedFrom(out));
        }
        const double ratio = bench::Median(withAdapter) / bench::Median(plain);
        std::printf("DAP script overhead with breakpoints set, none hit: %.2fx (script's own time, median of 5: %.1f ms "
                    "under the adapter, %.1f ms under slsh)\n",
                    ratio, bench::Median(withAdapter), bench::Median(plain));
    } catch (const std::exception& e) {
        std::fprintf(stderr, "velmor_bench_dap: %s\n", e.what());
        return 1;
    }
    std::string rm = std::string("rm -rf ") + dir;
    (void)!system(rm.c_str());
    return 0;
}
