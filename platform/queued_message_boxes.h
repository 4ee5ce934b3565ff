// Message boxes answered from a queue, for the script driver, the command line and tests.
//
// Each box shown takes the next queued answer; when the queue is empty the fallback answers, and
// without a fallback NoQueuedAnswer is thrown (a script that did not foresee a box must fail loudly,
// never block). Every box is reported to the observer and kept in shown().
#pragma once

#include <deque>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/system.h"

namespace qx::platform {

struct ShownBox {
    std::string title;
    std::string text;
    Buttons buttons = Buttons::OK;
    Icon icon = Icon::None;
    Answer answer = Answer::OK;
};

// Not a RuntimeError on purpose: no error trap of the logic may take it for a program error.
class NoQueuedAnswer : public std::logic_error {
  public:
    explicit NoQueuedAnswer(const std::string& what) : std::logic_error(what) {}
};

class QueuedMessageBoxes final : public MessageBoxes {
  public:
    using Observer = std::function<void(const ShownBox&)>;
    using Fallback = std::function<Answer(const ShownBox&)>;

    void queue(Answer answer) { answers_.push_back(answer); }
    void setObserver(Observer observer) { observer_ = std::move(observer); }
    void setFallback(Fallback fallback) { fallback_ = std::move(fallback); }

    Answer show(std::string_view title, std::string_view text, Buttons buttons, Icon icon) override;

    const std::vector<ShownBox>& shown() const { return shown_; }
    std::size_t pending() const { return answers_.size(); }

  private:
    std::deque<Answer> answers_;
    Observer observer_;
    Fallback fallback_;
    std::vector<ShownBox> shown_;
};

// The natural "go on" answer of a button set: OK, Yes or Retry.
Answer affirmativeAnswer(Buttons buttons);

const char* buttonsName(Buttons b);
const char* iconName(Icon i);
const char* answerName(Answer a);

}  // namespace qx::platform
