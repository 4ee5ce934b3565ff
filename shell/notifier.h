// A minimal change notification: the form models tell their views (Qt widgets, the script driver)
// that something they show has changed. Views connect, and disconnect before they go away; the
// models never know who listens.
#pragma once

#include <functional>
#include <utility>
#include <vector>

namespace qx::forms {

class Notifier {
  public:
    using Callback = std::function<void()>;

    // Returns a token for disconnect(). Callbacks run in the order they were connected.
    int connect(Callback callback) {
        const int token = ++lastToken_;
        callbacks_.emplace_back(token, std::move(callback));
        return token;
    }

    // Unknown tokens are ignored, so a view may disconnect unconditionally.
    void disconnect(int token) {
        std::erase_if(callbacks_, [token](const auto& entry) { return entry.first == token; });
    }

    // A callback may disconnect itself (or others) while it runs: we walk a copy.
    void notify() const {
        if (callbacks_.empty()) return;
        const auto copy = callbacks_;
        for (const auto& entry : copy) entry.second();
    }

    bool empty() const noexcept { return callbacks_.empty(); }

  private:
    int lastToken_ = 0;
    std::vector<std::pair<int, Callback>> callbacks_;
};

}  // namespace qx::forms
