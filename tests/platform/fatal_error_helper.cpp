// Ends through the fatal-error path with the reason given on the command line.
#include "platform/FatalError.h"
#include "platform/StdoutLine.h"

#include <QString>

int main(int argc, char** argv)
{
    StdoutLine::print("before");
    fatalError(QString::fromUtf8(argc > 1 ? argv[1] : "no reason"));
}
