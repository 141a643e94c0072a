#pragma once
#include "platform/MainQueue.h"

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace marrowleaf {

// The order in which note pages load while the program starts. The web engine
// works on one page at a time, so the pages of the desktops in front are asked
// for alone; the pages of notes elsewhere wait until every page in front has
// started, or `waitingDelay` at most. After the start every page loads at once.
class PageSchedule {
public:
    using Load = std::function<void(const std::string& id)>;

    explicit PageSchedule(Load load);
    ~PageSchedule();
    PageSchedule(const PageSchedule&) = delete;
    PageSchedule& operator=(const PageSchedule&) = delete;

    void beginStart();
    // Whether the note's page is to load now; when not, it waits and is loaded later.
    bool loadsNow(const std::string& id, bool inFront);
    void endStart();
    // A page in front has started.
    void started(const std::string& id);
    // No page waits any longer (another desktop came to the front).
    void loadWaiting();
    std::size_t waitingCount() const { return waiting.size(); }

    static constexpr double waitingDelay = 1.0;

private:
    Load load;
    bool starting = false;
    std::set<std::string> frontStarting;
    std::vector<std::string> waiting;
    std::optional<TimerId> timer;

    void cancelTimer();
};

}
