#pragma once
#include "platform/LoginItem.h"

#include <optional>
#include <string>

namespace marrowleaf {

// A login item in memory; `refusal` makes every change fail with that reason.
class FakeLoginItem : public LoginItem {
public:
    bool available() const override { return canStart; }
    bool enabled() const override { return on; }
    Files::Result setEnabled(bool wanted) override {
        ++changes;
        if (refusal) return Files::Result::failure(*refusal);
        on = wanted;
        return Files::Result::done();
    }

    bool canStart = true;
    bool on = false;
    std::optional<std::string> refusal;
    int changes = 0;
};

}
