#include "platform/fake/FakeFolderEvents.h"

namespace marrowleaf {

class FakeFolderEvents::Watch : public FolderWatch {
public:
    Watch(FakeFolderEvents& owner, int id) : owner(owner), id(id) {}
    ~Watch() override { owner.handlers.erase(id); }

private:
    FakeFolderEvents& owner;
    int id;
};

std::unique_ptr<FolderWatch> FakeFolderEvents::watch(const std::filesystem::path& folder, Handler handler,
                                                     std::string& error) {
    if (failWith) {
        error = *failWith;
        return nullptr;
    }
    const int id = nextId++;
    handlers[id] = {folder, std::move(handler)};
    return std::make_unique<Watch>(*this, id);
}

void FakeFolderEvents::emit(const std::filesystem::path& folder, std::vector<std::string> paths) {
    auto live = handlers;   // a handler may stop its own watch
    for (auto& [id, entry] : live) {
        if (entry.first == folder && handlers.count(id)) entry.second(paths);
    }
}

}
