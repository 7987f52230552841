// Clicks the left mouse button at a screen position with XTest, as a user's click would arrive:
//   x-click X Y
#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: x-click X Y\n");
        return 2;
    }
    Display* display = XOpenDisplay(nullptr);
    if (!display) {
        std::fprintf(stderr, "x-click: cannot open display\n");
        return 1;
    }
    XTestFakeMotionEvent(display, -1, std::atoi(argv[1]), std::atoi(argv[2]), CurrentTime);
    XSync(display, False);
    usleep(50000); // let the window see the pointer arrive before the press, as with a hand
    XTestFakeButtonEvent(display, 1, True, CurrentTime);
    XSync(display, False);
    usleep(50000);
    XTestFakeButtonEvent(display, 1, False, CurrentTime);
    XSync(display, False);
    XCloseDisplay(display);
    return 0;
}
