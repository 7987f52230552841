#include "MessageBoxAlertPresenter.h"

#include <QApplication>
#include <QMessageBox>

void MessageBoxAlertPresenter::present(const QString& message, const QString& informativeText)
{
    QMessageBox box(QApplication::activeWindow());
    box.setIcon(QMessageBox::Warning);
    box.setWindowTitle(QApplication::applicationDisplayName());
    box.setText(message);
    box.setInformativeText(informativeText);
    box.setStandardButtons(QMessageBox::Ok);
    box.setWindowModality(Qt::ApplicationModal);
    box.exec();
}
