# Shared by with-mutter and with-kwin (sourced, not run): a private runtime directory, spawned
# daemons stopped in reverse order on exit, waits with a deadline, and the portal start-up.

wayland_session_pids=()
wayland_session_names=()

wayland_session_log() { echo "wayland-session: $*" >&2; }

wayland_session_cleanup() {
    local i
    for ((i = ${#wayland_session_pids[@]} - 1; i >= 0; i--)); do
        kill "${wayland_session_pids[$i]}" 2>/dev/null
    done
    for ((i = ${#wayland_session_pids[@]} - 1; i >= 0; i--)); do
        wait "${wayland_session_pids[$i]}" 2>/dev/null
    done
    # The document portal (activated along with xdg-desktop-portal) mounts a FUSE file system.
    if [ -n "${WAYLAND_SESSION_DIR:-}" ]; then
        if mountpoint -q "$XDG_RUNTIME_DIR/doc" 2>/dev/null; then
            fusermount3 -u "$XDG_RUNTIME_DIR/doc" 2>/dev/null || fusermount -u "$XDG_RUNTIME_DIR/doc" 2>/dev/null \
                || umount -l "$XDG_RUNTIME_DIR/doc" 2>/dev/null
        fi
        rm -rf "$WAYLAND_SESSION_DIR"
    fi
}

# wayland_session_begin DESKTOP: the private directories and the environment of the session.
wayland_session_begin() {
    WAYLAND_SESSION_DIR=$(mktemp -d /tmp/orventa-wayland.XXXXXX)
    chmod 700 "$WAYLAND_SESSION_DIR"
    trap wayland_session_cleanup EXIT
    trap 'exit 130' INT TERM
    mkdir -m 700 "$WAYLAND_SESSION_DIR/runtime" "$WAYLAND_SESSION_DIR/config" \
        "$WAYLAND_SESSION_DIR/cache" "$WAYLAND_SESSION_DIR/data"
    export XDG_RUNTIME_DIR="$WAYLAND_SESSION_DIR/runtime"
    export XDG_CONFIG_HOME="$WAYLAND_SESSION_DIR/config"
    export XDG_CACHE_HOME="$WAYLAND_SESSION_DIR/cache"
    export XDG_DATA_HOME="$WAYLAND_SESSION_DIR/data"
    export WAYLAND_DISPLAY="orventa-wayland-$$"
    export XDG_SESSION_TYPE=wayland
    export XDG_CURRENT_DESKTOP="$1"
    export GSETTINGS_BACKEND=memory
    export WAYLAND_SESSION_LOG="$WAYLAND_SESSION_DIR/daemons.log"
    unset DISPLAY XAUTHORITY WAYLAND_SOCKET
}

# wayland_session_spawn NAME COMMAND...: starts a daemon that is stopped when the session ends.
wayland_session_spawn() {
    local name=$1
    shift
    "$@" >>"$WAYLAND_SESSION_LOG" 2>&1 &
    wayland_session_pids+=($!)
    wayland_session_names+=("$name")
}

wayland_session_check_alive() {
    local i
    for i in "${!wayland_session_pids[@]}"; do
        if ! kill -0 "${wayland_session_pids[$i]}" 2>/dev/null; then
            wayland_session_log "${wayland_session_names[$i]} exited early; its log:"
            tail -n 30 "$WAYLAND_SESSION_LOG" >&2
            exit 1
        fi
    done
}

# wayland_session_wait_for WHAT COMMAND...: polls COMMAND for up to 20 s.
wayland_session_wait_for() {
    local what=$1
    shift
    local deadline=$((SECONDS + 20))
    until "$@" >/dev/null 2>&1; do
        wayland_session_check_alive
        if [ "$SECONDS" -ge "$deadline" ]; then
            wayland_session_log "timed out waiting for $what; daemon log:"
            tail -n 30 "$WAYLAND_SESSION_LOG" >&2
            exit 1
        fi
        sleep 0.05
    done
}

# wayland_session_answers NAME PATH: the bus name is owned (asked first, so that the check does
# not start the service through D-Bus activation) and introspectable at PATH.
wayland_session_answers() {
    dbus-send --session --print-reply --dest=org.freedesktop.DBus /org/freedesktop/DBus \
        org.freedesktop.DBus.NameHasOwner "string:$1" | grep -q 'boolean true' || return 1
    dbus-send --session --print-reply --reply-timeout=1000 --dest="$1" "$2" \
        org.freedesktop.DBus.Introspectable.Introspect
}

wayland_session_portal_has_remote_desktop() {
    dbus-send --session --print-reply --reply-timeout=2000 --dest=org.freedesktop.portal.Desktop \
        /org/freedesktop/portal/desktop org.freedesktop.DBus.Introspectable.Introspect \
        | grep -q org.freedesktop.portal.RemoteDesktop
}


# wayland_session_publish: hands the session's environment to D-Bus activation. Called before
# the compositor starts, as kwin 6 activates the portal itself: a portal started before
# XDG_CURRENT_DESKTOP is known picks the GTK backend, which offers no RemoteDesktop. The portal
# backends run with accessibility on, so that tests answer their dialogs through AT-SPI.
wayland_session_publish() {
    QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1 dbus-update-activation-environment WAYLAND_DISPLAY XDG_CURRENT_DESKTOP XDG_SESSION_TYPE \
        XDG_RUNTIME_DIR XDG_CONFIG_HOME XDG_CACHE_HOME XDG_DATA_HOME GSETTINGS_BACKEND \
        QT_LINUX_ACCESSIBILITY_ALWAYS_ON
}

# wayland_session_start_portal BACKEND_BUS_NAME: publishes the session to D-Bus activation,
# starts the portal backend and xdg-desktop-portal through activation (they activate each other,
# so starting them by hand would race with the bus), and waits until RemoteDesktop is offered.
# Activated services end with the session bus.
wayland_session_start_portal() {
    wayland_session_publish
    local name
    for name in "$1" org.freedesktop.portal.Desktop; do
        dbus-send --session --print-reply --reply-timeout=20000 --dest=org.freedesktop.DBus \
            /org/freedesktop/DBus org.freedesktop.DBus.StartServiceByName "string:$name" uint32:0 \
            >/dev/null || { wayland_session_log "could not start $name"; exit 1; }
    done
    wayland_session_wait_for "the RemoteDesktop portal" wayland_session_portal_has_remote_desktop
}

# wayland_session_authorize_kde: Plasma 6 asks before it grants remote control unless the
# application is authorised in the permission store: table "kde-authorized", entry
# "remote-desktop", the application id with "yes"; the empty id stands for every application
# that is not sandboxed (the portal knows no id for them). This is what a user records once with
# "flatpak permission-set kde-authorized remote-desktop '' yes".
wayland_session_authorize_kde() {
    dbus-send --session --print-reply --reply-timeout=10000 \
        --dest=org.freedesktop.impl.portal.PermissionStore /org/freedesktop/impl/portal/PermissionStore \
        org.freedesktop.impl.portal.PermissionStore.SetPermission string:kde-authorized \
        boolean:true string:remote-desktop string: array:string:yes >/dev/null \
        || { wayland_session_log "could not authorise remote desktop in the permission store"; exit 1; }
}

# wayland_session_run COMMAND...: runs the command with the client environment, returns its status.
wayland_session_run() {
    export QT_QPA_PLATFORM=wayland
    "$@"
}
