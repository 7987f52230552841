#pragma once

#include <QElapsedTimer>
#include <QList>
#include <QPair>
#include <QWidget>

class QLabel;
class QProgressBar;

// One running upload in the drop area: the file's name, a progress bar (a progress-bar role
// with its value for assistive technology) and a line with the rate and the time left.
class UploadProgressView : public QWidget
{
    Q_OBJECT
public:
    explicit UploadProgressView(const QString& fileName, QWidget* parent = nullptr);

    // Body bytes sent so far of all of them (total 0 or less: not known yet).
    void setProgress(qint64 sent, qint64 total);

    QProgressBar* progressBar() const { return m_bar; }
    QString statusText() const;

    // "12.5 MB/s", "850 kB/s"; "0:42 left", "1:02:03 left".
    static QString rateText(double bytesPerSecond);
    static QString timeLeftText(qint64 seconds);

private:
    double rate() const;

    QLabel* m_name;
    QProgressBar* m_bar;
    QLabel* m_status;
    QElapsedTimer m_clock;
    QList<QPair<qint64, qint64>> m_samples; // (ms since start, bytes), the last few seconds
};
