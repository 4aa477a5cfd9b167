#ifndef ZORNX_TESTS_DIALOGRESPONDER_H
#define ZORNX_TESTS_DIALOGRESPONDER_H

#include <QtCore/QObject>
#include <QtCore/QQueue>
#include <QtCore/QTimer>
#include <QtWidgets/QMessageBox>

#include <functional>

namespace ZornTest {

// Answers modal dialogs from a timer, so that no test waits for a person. Answers are used in
// the order they were queued; a dialog with no answer left is rejected, and every dialog seen
// is recorded.
class DialogResponder : public QObject
{
    Q_OBJECT
public:
    struct Seen
    {
        QString kind; // class name of the dialog
        QString title;
        QString text;
        bool answered = false;
    };

    DialogResponder();

    // before runs just ahead of the answer, while the dialog is still open. A dialog other
    // than a message box, an input or a file dialog is accepted by Ok and rejected otherwise.
    void answer(QMessageBox::StandardButton button, std::function<void()> before = {});
    void answerText(const QString &text); // QInputDialog
    void answerFile(const QString &path); // QFileDialog (non-native)

    QList<Seen> seen;

private Q_SLOTS:
    void poll();

private:
    struct Answer
    {
        QMessageBox::StandardButton button = QMessageBox::NoButton;
        QString value;
        std::function<void()> before;
    };
    QQueue<Answer> answers;
    QTimer timer;
};

} // namespace ZornTest

#endif
