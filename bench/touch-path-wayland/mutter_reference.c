/* The minimal reference for the Wayland touch path: a plain libdbus client that sets up one
 * GNOME remote desktop session on the primary monitor, then turns every "MOVE,x,y,..."
 * datagram on a UDP port into one NotifyPointerMotionAbsolute call (x, y in 0..32767 mapped
 * onto WIDTHxHEIGHT logical pixels). Prints "ready" when the session runs; ends when standard
 * input closes.
 *   mutter-touch-reference PORT WIDTH HEIGHT */
#define _POSIX_C_SOURCE 200809L
#include <dbus/dbus.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

static DBusConnection *bus;

static void die(const char *what, DBusError *error)
{
    fprintf(stderr, "mutter-touch-reference: %s: %s\n", what, error && error->message ? error->message : "");
    exit(1);
}

/* A blocking call for the set-up; returns the reply. */
static DBusMessage *call(DBusMessage *message)
{
    DBusError error;
    dbus_error_init(&error);
    DBusMessage *reply = dbus_connection_send_with_reply_and_block(bus, message, 10000, &error);
    dbus_message_unref(message);
    if (!reply)
        die("call failed", &error);
    return reply;
}

static char *reply_string(DBusMessage *reply, int type)
{
    DBusMessageIter iter;
    const char *value = NULL;
    dbus_message_iter_init(reply, &iter);
    if (type == DBUS_TYPE_VARIANT) {
        DBusMessageIter inner;
        dbus_message_iter_recurse(&iter, &inner);
        dbus_message_iter_get_basic(&inner, &value);
    } else {
        dbus_message_iter_get_basic(&iter, &value);
    }
    char *copy = strdup(value);
    dbus_message_unref(reply);
    return copy;
}

/* Appends a{sv} with one entry of the given basic type. */
static void append_options(DBusMessage *message, const char *key, int type, const void *value)
{
    DBusMessageIter iter, dict, entry, variant;
    const char signature[2] = {(char)type, 0};
    dbus_message_iter_init_append(message, &iter);
    dbus_message_iter_open_container(&iter, DBUS_TYPE_ARRAY, "{sv}", &dict);
    dbus_message_iter_open_container(&dict, DBUS_TYPE_DICT_ENTRY, NULL, &entry);
    dbus_message_iter_append_basic(&entry, DBUS_TYPE_STRING, &key);
    dbus_message_iter_open_container(&entry, DBUS_TYPE_VARIANT, signature, &variant);
    dbus_message_iter_append_basic(&variant, type, value);
    dbus_message_iter_close_container(&entry, &variant);
    dbus_message_iter_close_container(&dict, &entry);
    dbus_message_iter_close_container(&iter, &dict);
}

int main(int argc, char **argv)
{
    if (argc < 4) {
        fprintf(stderr, "usage: mutter-touch-reference PORT WIDTH HEIGHT\n");
        return 2;
    }
    const double width = atof(argv[2]), height = atof(argv[3]);
    DBusError error;
    dbus_error_init(&error);
    bus = dbus_bus_get(DBUS_BUS_SESSION, &error);
    if (!bus)
        die("no session bus", &error);

    const char *rd = "org.gnome.Mutter.RemoteDesktop", *sc = "org.gnome.Mutter.ScreenCast";
    char *session = reply_string(call(dbus_message_new_method_call(rd, "/org/gnome/Mutter/RemoteDesktop",
                                          rd, "CreateSession")),
        DBUS_TYPE_OBJECT_PATH);
    DBusMessage *get = dbus_message_new_method_call(rd, session, "org.freedesktop.DBus.Properties", "Get");
    const char *iface = "org.gnome.Mutter.RemoteDesktop.Session", *property = "SessionId";
    dbus_message_append_args(get, DBUS_TYPE_STRING, &iface, DBUS_TYPE_STRING, &property, DBUS_TYPE_INVALID);
    char *session_id = reply_string(call(get), DBUS_TYPE_VARIANT);
    DBusMessage *create = dbus_message_new_method_call(sc, "/org/gnome/Mutter/ScreenCast", sc, "CreateSession");
    append_options(create, "remote-desktop-session-id", DBUS_TYPE_STRING, &session_id);
    char *cast = reply_string(call(create), DBUS_TYPE_OBJECT_PATH);
    DBusMessage *record
        = dbus_message_new_method_call(sc, cast, "org.gnome.Mutter.ScreenCast.Session", "RecordMonitor");
    const char *connector = "";
    dbus_message_append_args(record, DBUS_TYPE_STRING, &connector, DBUS_TYPE_INVALID);
    const dbus_uint32_t cursor_mode = 1;
    append_options(record, "cursor-mode", DBUS_TYPE_UINT32, &cursor_mode);
    char *stream = reply_string(call(record), DBUS_TYPE_OBJECT_PATH);
    dbus_message_unref(call(dbus_message_new_method_call(rd, session, iface, "Start")));

    int fd = socket(AF_INET, SOCK_DGRAM, 0);
    struct sockaddr_in address = {.sin_family = AF_INET, .sin_port = htons((uint16_t)atoi(argv[1]))};
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    if (fd < 0 || bind(fd, (struct sockaddr *)&address, sizeof address) < 0) {
        perror("mutter-touch-reference: bind");
        return 1;
    }
    printf("ready\n");
    fflush(stdout);

    struct pollfd fds[2] = {{.fd = fd, .events = POLLIN}, {.fd = STDIN_FILENO, .events = POLLIN}};
    char buffer[2048];
    for (;;) {
        if (poll(fds, 2, -1) < 0)
            break;
        if (fds[1].revents) {
            if (read(STDIN_FILENO, buffer, sizeof buffer) <= 0)
                break;
        }
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
        DBusMessage *motion = dbus_message_new_method_call(rd, session, iface, "NotifyPointerMotionAbsolute");
        const char *stream_path = stream;
        dbus_message_append_args(motion, DBUS_TYPE_STRING, &stream_path, DBUS_TYPE_DOUBLE, &x,
            DBUS_TYPE_DOUBLE, &y, DBUS_TYPE_INVALID);
        dbus_message_set_no_reply(motion, TRUE);
        dbus_connection_send(bus, motion, NULL);
        dbus_connection_flush(bus);
        dbus_message_unref(motion);
    }
    return 0;
}
