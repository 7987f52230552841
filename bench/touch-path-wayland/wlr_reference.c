/* The minimal reference for the Wayland touch path on wlroots compositors: a plain
 * wayland-client program that makes one virtual pointer (zwlr_virtual_pointer_manager_v1,
 * version 1, over the whole layout), then turns every "MOVE,x,y,..." datagram on a UDP port
 * into one motion_absolute and a frame (x, y in 0..32767 mapped onto WIDTHxHEIGHT logical
 * pixels, in hundredths). Prints "ready" once the pointer exists; ends when standard input
 * closes.
 *   wlr-touch-reference PORT WIDTH HEIGHT */
#define _POSIX_C_SOURCE 200809L
#include "wlr-virtual-pointer-unstable-v1-client-protocol.h"

#include <wayland-client.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

static struct zwlr_virtual_pointer_manager_v1 *manager;

static void global(void *data, struct wl_registry *registry, uint32_t name, const char *interface,
    uint32_t version)
{
    (void)data;
    (void)version;
    if (strcmp(interface, zwlr_virtual_pointer_manager_v1_interface.name) == 0)
        manager = wl_registry_bind(registry, name, &zwlr_virtual_pointer_manager_v1_interface, 1);
}

static void global_remove(void *data, struct wl_registry *registry, uint32_t name)
{
    (void)data;
    (void)registry;
    (void)name;
}

static const struct wl_registry_listener registry_listener = {global, global_remove};

static uint32_t now_ms(void)
{
    struct timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return (uint32_t)(ts.tv_sec * 1000 + ts.tv_nsec / 1000000);
}

int main(int argc, char **argv)
{
    if (argc < 4) {
        fprintf(stderr, "usage: wlr-touch-reference PORT WIDTH HEIGHT\n");
        return 2;
    }
    const double width = atof(argv[2]), height = atof(argv[3]);
    struct wl_display *display = wl_display_connect(NULL);
    if (!display) {
        fprintf(stderr, "wlr-touch-reference: no Wayland compositor\n");
        return 1;
    }
    struct wl_registry *registry = wl_display_get_registry(display);
    wl_registry_add_listener(registry, &registry_listener, NULL);
    wl_display_roundtrip(display);
    if (!manager) {
        fprintf(stderr, "wlr-touch-reference: no zwlr_virtual_pointer_manager_v1\n");
        return 1;
    }
    struct zwlr_virtual_pointer_v1 *pointer
        = zwlr_virtual_pointer_manager_v1_create_virtual_pointer(manager, NULL);
    wl_display_roundtrip(display);

    int fd = socket(AF_INET, SOCK_DGRAM, 0);
    struct sockaddr_in address = {.sin_family = AF_INET, .sin_port = htons((uint16_t)atoi(argv[1]))};
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    if (fd < 0 || bind(fd, (struct sockaddr *)&address, sizeof address) < 0) {
        perror("wlr-touch-reference: bind");
        return 1;
    }
    printf("ready\n");
    fflush(stdout);

    struct pollfd fds[3] = {{.fd = fd, .events = POLLIN}, {.fd = STDIN_FILENO, .events = POLLIN},
        {.fd = wl_display_get_fd(display), .events = POLLIN}};
    char buffer[2048];
    for (;;) {
        if (poll(fds, 3, -1) < 0)
            break;
        if (fds[1].revents && read(STDIN_FILENO, buffer, sizeof buffer) <= 0)
            break;
        if (fds[2].revents && wl_display_dispatch(display) < 0)
            break;
        if (!(fds[0].revents & POLLIN))
            continue;
        ssize_t n = recv(fd, buffer, sizeof buffer - 1, 0);
        if (n <= 0)
            continue;
        buffer[n] = 0;
        double x = 0, y = 0;
        if (strncmp(buffer, "MOVE,", 5) != 0 || sscanf(buffer + 5, "%lf,%lf", &x, &y) != 2)
            continue;
        x = x / 32767.0 * width;
        y = y / 32767.0 * height;
        zwlr_virtual_pointer_v1_motion_absolute(pointer, now_ms(), (uint32_t)(x * 100 + 0.5),
            (uint32_t)(y * 100 + 0.5), (uint32_t)(width * 100), (uint32_t)(height * 100));
        zwlr_virtual_pointer_v1_frame(pointer);
        wl_display_flush(display);
    }
    return 0;
}
