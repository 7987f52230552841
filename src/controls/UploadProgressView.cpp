#include "controls/UploadProgressView.h"

#include <QGridLayout>
#include <QLabel>
#include <QProgressBar>

#include <cmath>

namespace {
constexpr qint64 kRateWindowMs = 3000; // the rate is the average over the last three seconds
constexpr int kSteps = 100; // the bar's value is the percentage sent
} // namespace

UploadProgressView::UploadProgressView(const QString& fileName, QWidget* parent)
    : QWidget(parent)
    , m_name(new QLabel(fileName, this))
    , m_bar(new QProgressBar(this))
    , m_status(new QLabel(tr("Starting…"), this))
{
    setObjectName(QStringLiteral("uploadProgress"));
    m_name->setObjectName(QStringLiteral("uploadFileName"));
    m_name->setTextFormat(Qt::PlainText);
    m_name->setMinimumWidth(1);
    m_status->setObjectName(QStringLiteral("uploadStatus"));
    m_status->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    m_bar->setRange(0, kSteps);
    m_bar->setValue(0);
    m_bar->setTextVisible(false);
    m_bar->setFixedHeight(8);
    m_bar->setAccessibleName(tr("Uploading %1").arg(fileName));
    auto* layout = new QGridLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setHorizontalSpacing(8);
    layout->setVerticalSpacing(2);
    layout->addWidget(m_name, 0, 0);
    layout->addWidget(m_status, 0, 1);
    layout->addWidget(m_bar, 1, 0, 1, 2);
    layout->setColumnStretch(0, 1);
    m_clock.start();
}

void UploadProgressView::setProgress(qint64 sent, qint64 total)
{
    const qint64 now = m_clock.elapsed();
    m_samples.append({now, sent});
    while (m_samples.size() > 2 && now - m_samples.at(1).first >= kRateWindowMs)
        m_samples.removeFirst();
    if (total > 0)
        m_bar->setValue(int(sent * kSteps / total));
    const double bytesPerSecond = rate();
    if (bytesPerSecond <= 0 || total <= 0)
        return;
    const auto secondsLeft = qint64(std::ceil(double(total - sent) / bytesPerSecond));
    m_status->setText(tr("%1, %2").arg(rateText(bytesPerSecond), timeLeftText(secondsLeft)));
    m_bar->setAccessibleDescription(m_status->text());
}

QString UploadProgressView::statusText() const
{
    return m_status->text();
}

double UploadProgressView::rate() const
{
    if (m_samples.size() < 2)
        return 0;
    const auto& [firstMs, firstBytes] = m_samples.constFirst();
    const auto& [lastMs, lastBytes] = m_samples.constLast();
    return lastMs > firstMs ? double(lastBytes - firstBytes) * 1000.0 / double(lastMs - firstMs)
                            : 0;
}

QString UploadProgressView::rateText(double bytesPerSecond)
{
    if (bytesPerSecond >= 1e6)
        return tr("%1 MB/s").arg(bytesPerSecond / 1e6, 0, 'f', 1);
    return tr("%1 kB/s").arg(qRound(bytesPerSecond / 1e3));
}

QString UploadProgressView::timeLeftText(qint64 seconds)
{
    const auto pad = [](qint64 n) { return QStringLiteral("%1").arg(n, 2, 10, QLatin1Char('0')); };
    if (seconds >= 3600)
        return tr("%1:%2:%3 left")
            .arg(seconds / 3600)
            .arg(pad(seconds / 60 % 60), pad(seconds % 60));
    return tr("%1:%2 left").arg(seconds / 60).arg(pad(seconds % 60));
}
