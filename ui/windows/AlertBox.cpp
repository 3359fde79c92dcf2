#include "ui/windows/AlertBox.h"

#include <QCoroFuture>
#include <QLabel>
#include <QMessageBox>
#include <QPromise>
#include <QPushButton>

#include <memory>

QCoro::Task<int> AlertBox::present(QString title, QString text, QStringList buttons)
{
    auto *const box = new QMessageBox; // gone when it was answered
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setIcon(QMessageBox::Information);
    box->setText(title);
    box->setInformativeText(text);
    // The box passes its own text format on to the first label only.
    for (QLabel *const label : box->findChildren<QLabel *>())
        label->setTextFormat(Qt::PlainText);
    QList<QPushButton *> choices;
    for (const QString &button : buttons)
        choices.append(box->addButton(button, QMessageBox::AcceptRole));
    if (!choices.isEmpty()) {
        box->setDefaultButton(choices.constFirst());
        box->setEscapeButton(choices.constLast());
    }

    const auto answered = std::make_shared<QPromise<int>>();
    const auto answer = answered->future();
    answered->start();
    QObject::connect(box, &QDialog::finished, box, [box, choices, answered] {
        const auto *const clicked = qobject_cast<QPushButton *>(box->clickedButton());
        answered->addResult(static_cast<int>(choices.indexOf(clicked)));
        answered->finish();
    });
    // The box is shown and not opened: open() would be modal to a parent window, and there is none.
    box->setWindowModality(Qt::ApplicationModal);
    box->show();
    box->raise();
    box->activateWindow();
    co_return co_await answer;
}
