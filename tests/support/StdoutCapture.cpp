#include "StdoutCapture.h"

#include "platform/StdoutLine.h"

StdoutCapture::StdoutCapture()
{
    StdoutLine::setTap([this](const QByteArray& line) { m_lines.append(line); });
}

StdoutCapture::~StdoutCapture()
{
    StdoutLine::setTap({});
}
