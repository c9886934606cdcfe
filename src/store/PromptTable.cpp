#include "store/PromptTable.h"

#include "platform/Log.h"
#include "store/RowReading.h"

namespace folvane {

namespace {

constexpr const char* selectColumns = "SELECT id, name, prompt, enable, sortOrder FROM prompts ";

Prompt readPrompt(const Statement& row) {
    Prompt p;
    p.id = row.int64(0);
    p.name = row.text(1);
    p.prompt = row.text(2);
    p.enable = row.int64(3) != 0;
    p.sortOrder = int(row.int64(4));
    return p;
}

}  // namespace

std::vector<Prompt> PromptTable::getAll() const {
    std::vector<Prompt> result;
    try {
        auto query = db_->prepare(selectColumns);
        while (query.step()) result.push_back(readPrompt(query));
    } catch (const std::exception& error) {
        log(std::string("PromptTable.getAll failed: ") + error.what());
    }
    return result;
}

std::optional<Prompt> PromptTable::find(int64_t id) const {
    auto query = db_->prepare(selectWith(selectColumns, "WHERE id = ? LIMIT 1"));
    query.bind(id);
    if (!query.step()) return std::nullopt;
    return readPrompt(query);
}

int64_t PromptTable::insert(const Prompt& p) const {
    auto statement =
        db_->prepare("INSERT INTO prompts (name, prompt, enable, sortOrder) VALUES (?, ?, ?, ?)");
    statement.bind(p.name, p.prompt, p.enable, p.sortOrder);
    statement.run();
    return statement.insertedRowId();
}

void PromptTable::update(int64_t id, const Prompt& p) const {
    db_->prepare("UPDATE prompts SET name = ?, prompt = ?, enable = ?, sortOrder = ? WHERE id = ?")
        .bind(p.name, p.prompt, p.enable, p.sortOrder, id)
        .run();
}

void PromptTable::remove(const std::vector<int64_t>& ids) const {
    if (ids.empty()) return;
    std::string placeholders;
    for (size_t i = 0; i < ids.size(); ++i) placeholders += i == 0 ? "?" : ", ?";
    auto statement = db_->prepare("DELETE FROM prompts WHERE id IN (" + placeholders + ")");
    for (int64_t id : ids) statement.bind(id);
    statement.run();
}

}  // namespace folvane
