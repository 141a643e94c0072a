#pragma once
#include "platform/Subscription.h"

#include <functional>
#include <map>
#include <memory>

namespace marrowleaf {

// The subscribers of one fake notification. A subscription may outlive the
// fake that made it; destroying it then does nothing.
class FakeSignal {
public:
    using Handler = std::function<void()>;

    std::unique_ptr<Subscription> subscribe(Handler handler) {
        const int id = nextId++;
        (*handlers)[id] = std::move(handler);
        return std::make_unique<Registration>(handlers, id);
    }

    // Calls every live subscriber once; a handler may end its own subscription.
    void emit() {
        auto live = *handlers;
        for (auto& [id, handler] : live) {
            if (handlers->count(id)) handler();
        }
    }

    std::size_t subscriberCount() const { return handlers->size(); }

private:
    using Handlers = std::map<int, Handler>;

    class Registration : public Subscription {
    public:
        Registration(const std::shared_ptr<Handlers>& handlers, int id) : handlers(handlers), id(id) {}
        ~Registration() override {
            if (auto owner = handlers.lock()) owner->erase(id);
        }

    private:
        std::weak_ptr<Handlers> handlers;
        int id;
    };

    std::shared_ptr<Handlers> handlers = std::make_shared<Handlers>();
    int nextId = 1;
};

}
