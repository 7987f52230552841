// Sends "MOVE" touch datagrams to a UDP port on 127.0.0.1 at a fixed rate and times each one
// from just before sendto() to the wl_pointer.motion a full-screen Wayland window receives
// (wayland_pointer_observer, started here). Every datagram aims at its own pixel, so each
// motion names the datagram it came from.
//   touch-path-wayland-probe --observer PATH [--port 41863] [--rate 250] [--seconds 10]
//                            [--width 1440] [--height 900]
// Prints: p50_us=N p99_us=N lost=N first_p99_us=N last_p99_us=N count=N
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace {
long long nowUs()
{
    timespec ts {};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return ts.tv_sec * 1000000LL + ts.tv_nsec / 1000;
}

struct Observer
{
    pid_t pid = -1;
    int fd = -1;
    std::string pending;

    // Reads what is there (waiting up to timeoutMs) and hands over complete lines.
    template<typename OnLine> void read(int timeoutMs, OnLine onLine)
    {
        pollfd p {fd, POLLIN, 0};
        if (poll(&p, 1, timeoutMs) <= 0)
            return;
        char buffer[65536];
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n <= 0)
            return;
        pending.append(buffer, std::size_t(n));
        std::size_t newline;
        while ((newline = pending.find('\n')) != std::string::npos) {
            onLine(pending.substr(0, newline));
            pending.erase(0, newline + 1);
        }
    }
};

Observer startObserver(const char* path)
{
    int pipeFds[2];
    if (pipe(pipeFds) != 0)
        std::exit(1);
    Observer observer;
    observer.pid = fork();
    if (observer.pid == 0) {
        dup2(pipeFds[1], STDOUT_FILENO);
        close(pipeFds[0]);
        execl(path, path, static_cast<char*>(nullptr));
        _exit(127);
    }
    close(pipeFds[1]);
    observer.fd = pipeFds[0];
    return observer;
}

bool parseMotion(const std::string& line, long long* us, double* x, double* y)
{
    return std::sscanf(line.c_str(), "motion %lld %lf %lf", us, x, y) == 3
        || std::sscanf(line.c_str(), "enter %lld %lf %lf", us, x, y) == 3;
}

long long percentile(std::vector<long long> values, double p)
{
    if (values.empty())
        return -1;
    std::sort(values.begin(), values.end());
    const std::size_t index
        = std::min(values.size() - 1, std::size_t(std::ceil(p * double(values.size()))) - 1);
    return values[index];
}
} // namespace

int main(int argc, char** argv)
{
    const char* observerPath = nullptr;
    int port = 41863, rate = 250, seconds = 10;
    double width = 1440, height = 900;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string key = argv[i];
        if (key == "--observer")
            observerPath = argv[i + 1];
        else if (key == "--port")
            port = std::atoi(argv[i + 1]);
        else if (key == "--rate")
            rate = std::atoi(argv[i + 1]);
        else if (key == "--seconds")
            seconds = std::atoi(argv[i + 1]);
        else if (key == "--width")
            width = std::atof(argv[i + 1]);
        else if (key == "--height")
            height = std::atof(argv[i + 1]);
    }
    if (!observerPath) {
        std::fprintf(stderr, "usage: touch-path-wayland-probe --observer PATH [options]\n");
        return 2;
    }
    const int fd = socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in to {};
    to.sin_family = AF_INET;
    to.sin_port = htons(std::uint16_t(port));
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const auto send = [&](double px, double py, long long id) {
        char payload[128];
        const int n = std::snprintf(payload, sizeof payload, "MOVE,%.6f,%.6f,%lld",
            px * 32767.0 / width, py * 32767.0 / height, id);
        sendto(fd, payload, std::size_t(n), 0, reinterpret_cast<const sockaddr*>(&to), sizeof to);
    };

    Observer observer = startObserver(observerPath);
    bool ready = false;
    for (long long deadline = nowUs() + 10000000; !ready && nowUs() < deadline;)
        observer.read(
            100, [&](const std::string& line) { ready = ready || line.rfind("ready", 0) == 0; });
    if (!ready) {
        std::fprintf(stderr, "touch-path-wayland-probe: the observer did not show its window\n");
        return 1;
    }
    // The compositor gives the window the pointer on its next frame: touches begin once a
    // motion has reached it.
    bool focused = false;
    for (long long deadline = nowUs() + 10000000; !focused && nowUs() < deadline;) {
        send(50, 50, -1);
        observer.read(20, [&](const std::string& line) {
            long long us;
            double x, y;
            focused = focused
                || (parseMotion(line, &us, &x, &y) && std::lround(x) == 50 && std::lround(y) == 50);
        });
    }
    if (!focused) {
        std::fprintf(stderr, "touch-path-wayland-probe: no motion reached the observer\n");
        return 1;
    }

    const long long count = (long long)rate * seconds;
    const long long periodUs = 1000000 / rate;
    std::vector<long long> sentAt(std::size_t(count), 0), seenAt(std::size_t(count), 0);
    std::map<std::pair<long, long>, long long> byPixel;
    const auto pixelOf
        = [](long long i) { return std::make_pair(100 + long(i % 1200), 100 + long(i / 1200)); };
    for (long long i = 0; i < count; ++i)
        byPixel[pixelOf(i)] = i;
    const auto onLine = [&](const std::string& line) {
        long long us;
        double x, y;
        if (!parseMotion(line, &us, &x, &y))
            return;
        const auto found = byPixel.find({std::lround(x), std::lround(y)});
        if (found != byPixel.end() && seenAt[std::size_t(found->second)] == 0)
            seenAt[std::size_t(found->second)] = us;
    };

    const long long start = nowUs() + 10000;
    for (long long i = 0; i < count; ++i) {
        const long long due = start + i * periodUs;
        for (long long now = nowUs(); now < due; now = nowUs())
            observer.read(int(std::max(0LL, (due - now) / 1000)), onLine);
        const auto [px, py] = pixelOf(i);
        sentAt[std::size_t(i)] = nowUs();
        send(double(px), double(py), i);
    }
    for (long long deadline = nowUs() + 1000000; nowUs() < deadline;)
        observer.read(50, onLine);
    kill(observer.pid, SIGTERM);
    waitpid(observer.pid, nullptr, 0);

    if (const char* dump = std::getenv("TOUCH_PATH_DUMP"); dump && *dump) {
        if (FILE* out = std::fopen(dump, "w")) {
            for (long long i = 0; i < count; ++i)
                std::fprintf(
                    out, "%lld %lld %lld\n", i, sentAt[std::size_t(i)], seenAt[std::size_t(i)]);
            std::fclose(out);
        }
    }
    std::vector<long long> all, first, last;
    long long lost = 0;
    for (long long i = 0; i < count; ++i) {
        if (seenAt[std::size_t(i)] == 0) {
            ++lost;
            continue;
        }
        const long long latency = seenAt[std::size_t(i)] - sentAt[std::size_t(i)];
        all.push_back(latency);
        if (i < rate)
            first.push_back(latency);
        if (i >= count - rate)
            last.push_back(latency);
    }
    std::printf("p50_us=%lld p99_us=%lld lost=%lld first_p99_us=%lld last_p99_us=%lld count=%lld\n",
        percentile(all, 0.50), percentile(all, 0.99), lost, percentile(first, 0.99),
        percentile(last, 0.99), count);
    return 0;
}
