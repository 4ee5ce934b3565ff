#include "platform/queued_message_boxes.h"

namespace qx::platform {

Answer QueuedMessageBoxes::show(std::string_view title, std::string_view text, Buttons buttons, Icon icon) {
    ShownBox box{std::string(title), std::string(text), buttons, icon, Answer::OK};
    if (!answers_.empty()) {
        box.answer = answers_.front();
        answers_.pop_front();
    } else if (fallback_) {
        box.answer = fallback_(box);
    } else {
        throw NoQueuedAnswer("no answer queued for the message box \"" + box.title + "\": \"" + box.text +
                             "\"");
    }
    shown_.push_back(box);
    if (observer_) observer_(box);
    return box.answer;
}

Answer affirmativeAnswer(Buttons buttons) {
    switch (buttons) {
        case Buttons::YesNo:
        case Buttons::YesNoCancel:
            return Answer::Yes;
        case Buttons::AbortRetryIgnore:
        case Buttons::RetryCancel:
            return Answer::Retry;
        case Buttons::OK:
        case Buttons::OKCancel:
            return Answer::OK;
    }
    return Answer::OK;
}

const char* buttonsName(Buttons b) {
    switch (b) {
        case Buttons::OK:
            return "OK";
        case Buttons::OKCancel:
            return "OKCancel";
        case Buttons::AbortRetryIgnore:
            return "AbortRetryIgnore";
        case Buttons::YesNoCancel:
            return "YesNoCancel";
        case Buttons::YesNo:
            return "YesNo";
        case Buttons::RetryCancel:
            return "RetryCancel";
    }
    return "?";
}

const char* iconName(Icon i) {
    switch (i) {
        case Icon::None:
            return "None";
        case Icon::Critical:
            return "Critical";
        case Icon::Question:
            return "Question";
        case Icon::Exclamation:
            return "Exclamation";
        case Icon::Information:
            return "Information";
    }
    return "?";
}

const char* answerName(Answer a) {
    switch (a) {
        case Answer::OK:
            return "OK";
        case Answer::Cancel:
            return "Cancel";
        case Answer::Abort:
            return "Abort";
        case Answer::Retry:
            return "Retry";
        case Answer::Ignore:
            return "Ignore";
        case Answer::Yes:
            return "Yes";
        case Answer::No:
            return "No";
    }
    return "?";
}

}  // namespace qx::platform
