/* The smallest possible touch path, for comparison: one blocking UDP socket, one datagram at a
 * time, the first ";" record split on ",", x and y scaled from 0..32767 onto the X screen and
 * posted with XTest on one X connection. "DOWN", "UP" and "MOVE" only; no click logic.
 *   udp-touch-reference PORT [BIND_ADDRESS]
 * Prints "ready" once bound; ends on a datagram "QUIT" or when standard input closes. */
#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

static int openSocket(int port, const char* address)
{
    int fd = socket(AF_INET, SOCK_DGRAM, 0);
    struct sockaddr_in sin;
    memset(&sin, 0, sizeof sin);
    sin.sin_family = AF_INET;
    sin.sin_port = htons((unsigned short)port);
    sin.sin_addr.s_addr = inet_addr(address);
    int one = 1;
    setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    if (fd < 0 || bind(fd, (struct sockaddr*)&sin, sizeof sin) != 0) {
        perror("udp-touch-reference: bind");
        exit(1);
    }
    return fd;
}

/* Returns 0 to go on, 1 to stop. */
static int handle(Display* display, char* text, double width, double height)
{
    if (strcmp(text, "QUIT") == 0)
        return 1;
    char* end = strchr(text, ';');
    if (end)
        *end = '\0';
    char* fields[4] = {0};
    int count = 0;
    for (char* piece = strtok(text, ","); piece && count < 4; piece = strtok(NULL, ","))
        fields[count++] = piece;
    if (count < 4)
        return 0;
    int x = (int)(atof(fields[1]) / 32767.0 * width);
    int y = (int)(atof(fields[2]) / 32767.0 * height);
    XTestFakeMotionEvent(display, -1, x, y, CurrentTime);
    if (strcmp(fields[0], "DOWN") == 0)
        XTestFakeButtonEvent(display, 1, True, CurrentTime);
    else if (strcmp(fields[0], "UP") == 0)
        XTestFakeButtonEvent(display, 1, False, CurrentTime);
    XFlush(display);
    return 0;
}

/* One datagram, from the socket to the flushed X request: the work the benchmark counts
 * instructions of (callgrind collects inside this function only). Returns 1 to stop. */
__attribute__((noinline)) int receive_touch(
    int fd, Display* display, char* buffer, size_t size, double width, double height)
{
    ssize_t n = recv(fd, buffer, size - 1, 0);
    if (n < 0)
        return 0;
    buffer[n] = '\0';
    return handle(display, buffer, width, height);
}

int main(int argc, char** argv)
{
    if (argc < 2) {
        fprintf(stderr, "usage: udp-touch-reference PORT [BIND_ADDRESS]\n");
        return 2;
    }
    Display* display = XOpenDisplay(NULL);
    if (!display) {
        fprintf(stderr, "udp-touch-reference: cannot open display\n");
        return 1;
    }
    double width = DisplayWidth(display, DefaultScreen(display));
    double height = DisplayHeight(display, DefaultScreen(display));
    int fd = openSocket(atoi(argv[1]), argc > 2 ? argv[2] : "0.0.0.0");
    printf("ready\n");
    fflush(stdout);
    struct pollfd fds[2] = {{fd, POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
    char buffer[2048];
    for (;;) {
        if (poll(fds, 2, -1) < 0)
            break;
        if (fds[1].revents) {
            ssize_t n = read(STDIN_FILENO, buffer, sizeof buffer);
            if (n <= 0)
                break;
        }
        if (!(fds[0].revents & POLLIN))
            continue;
        if (receive_touch(fd, display, buffer, sizeof buffer, width, height))
            break;
    }
    XCloseDisplay(display);
    close(fd);
    return 0;
}
