/* Times a program from exec to its first mapped top-level window, from outside: an X client that
 * watches the root window's children (SubstructureNotify) while it starts the program.
 *   startup-watch PROGRAM [ARGS...]
 * Prints "created_us=N mapped_us=N cpu_us=N": the time from just before fork/exec to the first
 * CreateNotify and the first MapNotify of a child of the root window, and the processor time the
 * program used until it was ended with SIGTERM right after the map (for orientation: a little
 * work after the map is in it).
 * Meant for a private X server on which nothing else creates windows. */
#include <X11/Xlib.h>

#include <poll.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

static long long now_us(void)
{
    struct timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return (long long)ts.tv_sec * 1000000LL + ts.tv_nsec / 1000;
}

/* Ends the program; returns the processor time it used, in microseconds. */
static long long stop(pid_t pid)
{
    struct rusage usage = {0};
    kill(pid, SIGTERM);
    int ended = 0;
    for (int i = 0; i < 500 && !ended; ++i) {
        ended = wait4(pid, NULL, WNOHANG, &usage) == pid;
        if (!ended)
            usleep(10000);
    }
    if (!ended) {
        kill(pid, SIGKILL);
        wait4(pid, NULL, 0, &usage);
    }
    return (long long)(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1000000LL
        + usage.ru_utime.tv_usec + usage.ru_stime.tv_usec;
}

int main(int argc, char** argv)
{
    if (argc < 2) {
        fprintf(stderr, "usage: startup-watch PROGRAM [ARGS...]\n");
        return 2;
    }
    Display* display = XOpenDisplay(NULL);
    if (!display) {
        fprintf(stderr, "startup-watch: no X display\n");
        return 1;
    }
    const Window root = DefaultRootWindow(display);
    XSelectInput(display, root, SubstructureNotifyMask);
    XSync(display, True);

    const long long start = now_us();
    const pid_t pid = fork();
    if (pid == 0) {
        execvp(argv[1], argv + 1);
        perror("startup-watch: exec");
        _exit(127);
    }
    if (pid < 0) {
        perror("startup-watch: fork");
        return 1;
    }
    long long created = -1, mapped = -1;
    const long long deadline = start + 30000000LL;
    while (mapped < 0 && now_us() < deadline) {
        if (!XPending(display)) {
            struct pollfd p = {ConnectionNumber(display), POLLIN, 0};
            poll(&p, 1, 10);
            continue;
        }
        XEvent event;
        XNextEvent(display, &event);
        const long long seen = now_us();
        if (event.type == CreateNotify && event.xcreatewindow.parent == root && created < 0)
            created = seen - start;
        else if (event.type == MapNotify && event.xmap.event == root)
            mapped = seen - start;
    }
    const long long cpu = stop(pid);
    XCloseDisplay(display);
    if (mapped < 0) {
        fprintf(stderr, "startup-watch: %s mapped no window within 30 s\n", argv[1]);
        return 1;
    }
    printf("created_us=%lld mapped_us=%lld cpu_us=%lld\n", created, mapped, cpu);
    return 0;
}
