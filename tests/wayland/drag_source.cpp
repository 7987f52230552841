// A Wayland drag source, as a file manager would be: a magenta square (so that a screenshot can
// find it) that starts dragging one file when the left button goes down on it.
//   drag-source FILE
// Prints "dragged ACTION" when the drag ends (ACTION: copy, move, link or none).
#include <QApplication>
#include <QDrag>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QUrl>
#include <QWidget>

#include <cstdio>

namespace {
class DragSource : public QWidget
{
public:
    explicit DragSource(QString file)
        : m_file(std::move(file))
    {
        setFixedSize(240, 240);
        setWindowTitle(QStringLiteral("drag source"));
    }

protected:
    void paintEvent(QPaintEvent*) override { QPainter(this).fillRect(rect(), Qt::magenta); }
    void mousePressEvent(QMouseEvent* event) override
    {
        if (event->button() != Qt::LeftButton)
            return;
        auto* data = new QMimeData;
        data->setUrls({QUrl::fromLocalFile(m_file)});
        QDrag drag(this);
        drag.setMimeData(data);
        const Qt::DropAction action = drag.exec(Qt::CopyAction);
        const char* name = action == Qt::CopyAction ? "copy"
            : action == Qt::MoveAction              ? "move"
            : action == Qt::LinkAction              ? "link"
                                                    : "none";
        std::printf("dragged %s\n", name);
        std::fflush(stdout);
    }

private:
    QString m_file;
};
} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: drag-source FILE\n");
        return 2;
    }
    DragSource source(QString::fromLocal8Bit(argv[1]));
    source.show();
    return app.exec();
}
