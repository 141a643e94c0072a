#pragma once
#include <map>
#include <string>

namespace marrowleaf {

// Note files that have disappeared. Editors and sync tools often save by
// removing a file and writing a new one a few milliseconds later, so a note
// whose file vanished is kept for a grace period before it is let go.
class MissingNotes {
public:
    explicit MissingNotes(double grace) : grace(grace) {}

    // The note's file was not found at `now`. True once it has been missing
    // for the whole grace period.
    bool gone(const std::string& id, double now);
    // The note's file is there (again).
    void found(const std::string& id) { since.erase(id); }
    bool missing(const std::string& id) const { return since.contains(id); }

private:
    double grace;
    std::map<std::string, double> since;
};

}
