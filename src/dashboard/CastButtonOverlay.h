#pragma once

#include <QAbstractButton>

// A transparent button laid over the round cast view, so that the cast control takes keyboard
// focus, answers Space and Enter, and is a push button to assistive technology. The view
// underneath keeps drawing the face ("castingInactive" / "castingActive").
class CastButtonOverlay : public QAbstractButton
{
    Q_OBJECT

public:
    explicit CastButtonOverlay(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool hitButton(const QPoint& pos) const override;
};
