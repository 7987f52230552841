/* A full-screen Wayland client that prints every pointer event it receives, one line each,
 * flushed at once, so tests and benchmarks can follow input as a native Wayland window sees it.
 *
 *   ready WIDTH HEIGHT              the window is mapped full screen (surface-local size)
 *   enter US X Y                    the pointer entered the window
 *   motion US X Y                   one wl_pointer.motion (never merged with others)
 *   button US pressed|released CODE
 *   leave US
 *
 * US is CLOCK_MONOTONIC in microseconds when the event was read; X and Y are surface-local
 * logical coordinates (the window covers the whole output, so they are the output's). */
#define _POSIX_C_SOURCE 200809L
#include "xdg-shell-client-protocol.h"

#include <wayland-client.h>

#include <errno.h>
#include <fcntl.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <time.h>
#include <unistd.h>

struct observer {
    struct wl_display *display;
    struct wl_compositor *compositor;
    struct wl_shm *shm;
    struct xdg_wm_base *wm_base;
    struct wl_seat *seat;
    struct wl_pointer *pointer;
    struct wl_surface *surface;
    struct xdg_surface *xdg_surface;
    struct xdg_toplevel *toplevel;
    struct wl_buffer *buffer;
    int width, height;
    int configured_width, configured_height;
    int ready;
    int closed;
};

static long long now_us(void)
{
    struct timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return (long long)ts.tv_sec * 1000000LL + ts.tv_nsec / 1000;
}

static void die(const char *what)
{
    fprintf(stderr, "pointer_observer: %s\n", what);
    exit(1);
}

static struct wl_buffer *make_buffer(struct observer *o, int width, int height)
{
    const int stride = width * 4;
    const size_t size = (size_t)stride * (size_t)height;
    char name[] = "/tmp/orventa-observer-XXXXXX";
    int fd = mkstemp(name);
    if (fd < 0)
        die("cannot create the buffer file");
    unlink(name);
    if (ftruncate(fd, (off_t)size) < 0)
        die("cannot size the buffer file");
    void *pixels = mmap(NULL, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    if (pixels == MAP_FAILED)
        die("cannot map the buffer file");
    memset(pixels, 0xff, size); /* opaque white */
    munmap(pixels, size);
    struct wl_shm_pool *pool = wl_shm_create_pool(o->shm, fd, (int32_t)size);
    struct wl_buffer *buffer
        = wl_shm_pool_create_buffer(pool, 0, width, height, stride, WL_SHM_FORMAT_XRGB8888);
    wl_shm_pool_destroy(pool);
    close(fd);
    return buffer;
}

static void frame_done(void *data, struct wl_callback *callback, uint32_t time)
{
    struct observer *o = data;
    (void)time;
    wl_callback_destroy(callback);
    if (!o->ready) {
        o->ready = 1;
        printf("ready %d %d\n", o->width, o->height);
    }
}

static const struct wl_callback_listener frame_listener = {frame_done};

static void xdg_surface_configure(void *data, struct xdg_surface *surface, uint32_t serial)
{
    struct observer *o = data;
    xdg_surface_ack_configure(surface, serial);
    int width = o->configured_width > 0 ? o->configured_width : 1440;
    int height = o->configured_height > 0 ? o->configured_height : 900;
    if (o->buffer && width == o->width && height == o->height) {
        wl_surface_commit(o->surface);
        return;
    }
    if (o->buffer)
        wl_buffer_destroy(o->buffer);
    o->buffer = make_buffer(o, width, height);
    o->width = width;
    o->height = height;
    wl_surface_attach(o->surface, o->buffer, 0, 0);
    wl_surface_damage(o->surface, 0, 0, width, height);
    if (!o->ready)
        wl_callback_add_listener(wl_surface_frame(o->surface), &frame_listener, o);
    wl_surface_commit(o->surface);
}

static const struct xdg_surface_listener xdg_surface_listener = {xdg_surface_configure};

static void toplevel_configure(void *data, struct xdg_toplevel *toplevel, int32_t width,
    int32_t height, struct wl_array *states)
{
    struct observer *o = data;
    (void)toplevel;
    (void)states;
    o->configured_width = width;
    o->configured_height = height;
}

static void toplevel_close(void *data, struct xdg_toplevel *toplevel)
{
    struct observer *o = data;
    (void)toplevel;
    o->closed = 1;
}

static const struct xdg_toplevel_listener toplevel_listener
    = {.configure = toplevel_configure, .close = toplevel_close};

static void wm_base_ping(void *data, struct xdg_wm_base *wm_base, uint32_t serial)
{
    (void)data;
    xdg_wm_base_pong(wm_base, serial);
}

static const struct xdg_wm_base_listener wm_base_listener = {wm_base_ping};

static void pointer_enter(void *data, struct wl_pointer *pointer, uint32_t serial,
    struct wl_surface *surface, wl_fixed_t x, wl_fixed_t y)
{
    (void)data;
    (void)surface;
    /* An empty cursor, so the compositor draws nothing over the window. */
    wl_pointer_set_cursor(pointer, serial, NULL, 0, 0);
    printf("enter %lld %.2f %.2f\n", now_us(), wl_fixed_to_double(x), wl_fixed_to_double(y));
}

static void pointer_leave(void *data, struct wl_pointer *pointer, uint32_t serial,
    struct wl_surface *surface)
{
    (void)data;
    (void)pointer;
    (void)serial;
    (void)surface;
    printf("leave %lld\n", now_us());
}

static void pointer_motion(void *data, struct wl_pointer *pointer, uint32_t time, wl_fixed_t x,
    wl_fixed_t y)
{
    (void)data;
    (void)pointer;
    (void)time;
    printf("motion %lld %.2f %.2f\n", now_us(), wl_fixed_to_double(x), wl_fixed_to_double(y));
}

static void pointer_button(void *data, struct wl_pointer *pointer, uint32_t serial, uint32_t time,
    uint32_t button, uint32_t state)
{
    (void)data;
    (void)pointer;
    (void)serial;
    (void)time;
    printf("button %lld %s %u\n", now_us(),
        state == WL_POINTER_BUTTON_STATE_PRESSED ? "pressed" : "released", button);
}

static void pointer_axis(void *data, struct wl_pointer *pointer, uint32_t time, uint32_t axis,
    wl_fixed_t value)
{
    (void)data;
    (void)pointer;
    (void)time;
    (void)axis;
    (void)value;
}

static const struct wl_pointer_listener pointer_listener
    = {.enter = pointer_enter,
        .leave = pointer_leave,
        .motion = pointer_motion,
        .button = pointer_button,
        .axis = pointer_axis};

static void seat_capabilities(void *data, struct wl_seat *seat, uint32_t caps)
{
    struct observer *o = data;
    if ((caps & WL_SEAT_CAPABILITY_POINTER) && !o->pointer) {
        o->pointer = wl_seat_get_pointer(seat);
        wl_pointer_add_listener(o->pointer, &pointer_listener, o);
    }
}

static void seat_name(void *data, struct wl_seat *seat, const char *name)
{
    (void)data;
    (void)seat;
    (void)name;
}

static const struct wl_seat_listener seat_listener = {seat_capabilities, seat_name};

static void registry_global(void *data, struct wl_registry *registry, uint32_t name,
    const char *interface, uint32_t version)
{
    struct observer *o = data;
    (void)version;
    if (strcmp(interface, wl_compositor_interface.name) == 0)
        o->compositor = wl_registry_bind(registry, name, &wl_compositor_interface, 4);
    else if (strcmp(interface, wl_shm_interface.name) == 0)
        o->shm = wl_registry_bind(registry, name, &wl_shm_interface, 1);
    else if (strcmp(interface, xdg_wm_base_interface.name) == 0) {
        o->wm_base = wl_registry_bind(registry, name, &xdg_wm_base_interface, 1);
        xdg_wm_base_add_listener(o->wm_base, &wm_base_listener, o);
    } else if (strcmp(interface, wl_seat_interface.name) == 0 && !o->seat) {
        /* Version 1 of the pointer: no frame or axis-source events to ignore. */
        o->seat = wl_registry_bind(registry, name, &wl_seat_interface, 1);
        wl_seat_add_listener(o->seat, &seat_listener, o);
    }
}

static void registry_global_remove(void *data, struct wl_registry *registry, uint32_t name)
{
    (void)data;
    (void)registry;
    (void)name;
}

static const struct wl_registry_listener registry_listener
    = {registry_global, registry_global_remove};

int main(void)
{
    setvbuf(stdout, NULL, _IOLBF, 0);
    struct observer o;
    memset(&o, 0, sizeof o);
    o.display = wl_display_connect(NULL);
    if (!o.display)
        die("cannot connect to the Wayland display (is WAYLAND_DISPLAY set?)");
    struct wl_registry *registry = wl_display_get_registry(o.display);
    wl_registry_add_listener(registry, &registry_listener, &o);
    wl_display_roundtrip(o.display);
    if (!o.compositor || !o.shm || !o.wm_base || !o.seat)
        die("the compositor lacks wl_compositor, wl_shm, xdg_wm_base or wl_seat");

    o.surface = wl_compositor_create_surface(o.compositor);
    o.xdg_surface = xdg_wm_base_get_xdg_surface(o.wm_base, o.surface);
    xdg_surface_add_listener(o.xdg_surface, &xdg_surface_listener, &o);
    o.toplevel = xdg_surface_get_toplevel(o.xdg_surface);
    xdg_toplevel_add_listener(o.toplevel, &toplevel_listener, &o);
    xdg_toplevel_set_title(o.toplevel, "pointer observer");
    xdg_toplevel_set_app_id(o.toplevel, "orventa-pointer-observer");
    xdg_toplevel_set_fullscreen(o.toplevel, NULL);
    wl_surface_commit(o.surface);

    while (!o.closed && wl_display_dispatch(o.display) != -1) {
    }
    return o.closed ? 0 : (errno == EPIPE || errno == ECONNRESET ? 0 : 1);
}
