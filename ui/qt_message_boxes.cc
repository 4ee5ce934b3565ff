#include "ui/qt_message_boxes.h"

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>

#include "ui/widgets.h"

namespace qx::ui {

namespace {

using platform::Answer;
using platform::Buttons;
using platform::Icon;

QMessageBox::StandardButtons standardButtons(Buttons buttons) {
    switch (buttons) {
        case Buttons::OK:
            return QMessageBox::Ok;
        case Buttons::OKCancel:
            return QMessageBox::Ok | QMessageBox::Cancel;
        case Buttons::AbortRetryIgnore:
            return QMessageBox::Abort | QMessageBox::Retry | QMessageBox::Ignore;
        case Buttons::YesNoCancel:
            return QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel;
        case Buttons::YesNo:
            return QMessageBox::Yes | QMessageBox::No;
        case Buttons::RetryCancel:
            return QMessageBox::Retry | QMessageBox::Cancel;
    }
    return QMessageBox::Ok;
}

QMessageBox::Icon boxIcon(Icon icon) {
    switch (icon) {
        case Icon::None:
            return QMessageBox::NoIcon;
        case Icon::Critical:
            return QMessageBox::Critical;
        case Icon::Question:
            return QMessageBox::Question;
        case Icon::Exclamation:
            return QMessageBox::Warning;
        case Icon::Information:
            return QMessageBox::Information;
    }
    return QMessageBox::NoIcon;
}

Answer toAnswer(QMessageBox::StandardButton button, Buttons set) {
    switch (button) {
        case QMessageBox::Ok:
            return Answer::OK;
        case QMessageBox::Cancel:
            return Answer::Cancel;
        case QMessageBox::Abort:
            return Answer::Abort;
        case QMessageBox::Retry:
            return Answer::Retry;
        case QMessageBox::Ignore:
            return Answer::Ignore;
        case QMessageBox::Yes:
            return Answer::Yes;
        case QMessageBox::No:
            return Answer::No;
        default:
            return answerWithoutButton(set);
    }
}

}  // namespace

Answer answerWithoutButton(Buttons buttons) {
    switch (buttons) {
        case Buttons::OK:
            return Answer::OK;
        case Buttons::OKCancel:
        case Buttons::YesNoCancel:
        case Buttons::RetryCancel:
            return Answer::Cancel;
        case Buttons::AbortRetryIgnore:
            return Answer::Ignore;
        case Buttons::YesNo:
            return Answer::No;
    }
    return Answer::Cancel;
}

Answer QtMessageBoxes::show(std::string_view title, std::string_view text, Buttons buttons, Icon icon) {
    if (before_) before_();
    QMessageBox box(boxIcon(icon), q(title), q(text), standardButtons(buttons), QApplication::activeWindow());
    box.setObjectName("msgbox");
    box.setTextFormat(Qt::PlainText);  // the program's texts, never markup
    box.setWindowModality(Qt::ApplicationModal);

    // A box asks the user something: the pointer is the normal arrow while it is up, whatever
    // hourglass the handler set, and the hourglass comes back afterwards.
    int hourglasses = 0;
    while (QApplication::overrideCursor()) {
        QApplication::restoreOverrideCursor();
        ++hourglasses;
    }

    if (hook_) hook_(box);
    box.exec();
    QAbstractButton* clicked = box.clickedButton();
    const Answer answer =
        clicked ? toAnswer(box.standardButton(clicked), buttons) : answerWithoutButton(buttons);

    for (int i = 0; i < hourglasses; ++i) QApplication::setOverrideCursor(Qt::WaitCursor);
    return answer;
}

}  // namespace qx::ui
