#include "dialogresponder.h"

#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QApplication>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QInputDialog>
#include <QtWidgets/QLineEdit>

namespace ZornTest {

DialogResponder::DialogResponder()
{
    connect(&timer, &QTimer::timeout, this, &DialogResponder::poll);
    timer.start(20);
}

void DialogResponder::answer(QMessageBox::StandardButton button, std::function<void()> before)
{
    Answer a;
    a.button = button;
    a.before = std::move(before);
    answers.enqueue(a);
}

void DialogResponder::answerText(const QString &text)
{
    Answer a;
    a.value = text;
    answers.enqueue(a);
}

void DialogResponder::answerFile(const QString &path)
{
    answerText(path);
}

void DialogResponder::poll()
{
    const QWidgetList widgets = QApplication::topLevelWidgets();
    for (QWidget *widget : widgets) {
        auto *dialog = qobject_cast<QDialog *>(widget);
        if (!dialog || !dialog->isVisible())
            continue;
        Seen record;
        record.kind = QString::fromLatin1(dialog->metaObject()->className());
        record.title = dialog->windowTitle();
        const bool haveAnswer = !answers.isEmpty();
        const Answer a = haveAnswer ? answers.dequeue() : Answer();
        record.answered = haveAnswer;
        if (a.before)
            a.before();

        if (auto *box = qobject_cast<QMessageBox *>(dialog)) {
            record.text = box->text();
            seen.append(record);
            QAbstractButton *button = haveAnswer ? box->button(a.button) : nullptr;
            if (button)
                button->click();
            else
                box->done(QMessageBox::Cancel);
        } else if (auto *input = qobject_cast<QInputDialog *>(dialog)) {
            record.text = input->labelText();
            seen.append(record);
            if (haveAnswer) {
                input->setTextValue(a.value);
                input->accept();
            } else {
                input->reject();
            }
        } else if (auto *files = qobject_cast<QFileDialog *>(dialog)) {
            seen.append(record);
            if (haveAnswer) {
                // selectFile() leaves a focused name field alone, so type the name instead.
                if (auto *name = files->findChild<QLineEdit *>(QStringLiteral("fileNameEdit")))
                    name->setText(a.value);
                else
                    files->selectFile(a.value);
                QMetaObject::invokeMethod(files, "accept");
            } else {
                files->reject();
            }
        } else {
            // Any other dialog: before() fills it in, Ok accepts it.
            seen.append(record);
            if (haveAnswer && a.button == QMessageBox::Ok)
                dialog->accept();
            else
                dialog->reject();
        }
        return; // one dialog per tick: the next may only appear after this one closed
    }
}

} // namespace ZornTest
