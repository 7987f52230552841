/* A minimal touch-to-pointer program used as the yardstick for the touch benchmarks: parse a
 * "NAME,x,y,timestamp" report with sscanf, scale x and y from 0..32767 onto the screen, move
 * the pointer with XTest and flush.
 *   touch-reference N     posts N MOVE reports spread over the screen, then exits */
#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/* One report: returns 1 when it moved the pointer. */
static int post_report(Display* display, const char* line)
{
    char name[16];
    double x = 0, y = 0;
    long long timestamp = 0;
    if (sscanf(line, "%15[^,],%lf,%lf,%lld", name, &x, &y, &timestamp) != 4)
        return 0;
    if (strcmp(name, "MOVE") != 0)
        return 0;
    const int screen = DefaultScreen(display);
    const double width = DisplayWidth(display, screen);
    const double height = DisplayHeight(display, screen);
    XTestFakeMotionEvent(
        display, screen, (int)(x / 32767.0 * width), (int)(y / 32767.0 * height), CurrentTime);
    XFlush(display);
    return 1;
}

/* The measured loop (callgrind collects inside this function only). */
__attribute__((noinline)) int run_reports(Display* display, char** lines, int count)
{
    int posted = 0;
    for (int i = 0; i < count; ++i)
        posted += post_report(display, lines[i]);
    return posted;
}

int main(int argc, char** argv)
{
    const int count = argc > 1 ? atoi(argv[1]) : 1000;
    Display* display = XOpenDisplay(NULL);
    if (!display) {
        fprintf(stderr, "touch-reference: no X display\n");
        return 1;
    }
    char** lines = calloc((size_t)count, sizeof *lines);
    for (int i = 0; i < count; ++i) {
        lines[i] = malloc(48);
        snprintf(lines[i], 48, "MOVE,%d,%d,%lld", (i * 7919) % 32768, (i * 104729) % 32768,
            1700000000000LL + i);
    }
    const int posted = run_reports(display, lines, count);
    XSync(display, False);
    printf("posted=%d\n", posted);
    for (int i = 0; i < count; ++i)
        free(lines[i]);
    free(lines);
    XCloseDisplay(display);
    return posted == count ? 0 : 1;
}
