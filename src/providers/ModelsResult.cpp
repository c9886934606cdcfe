#include "providers/ModelsResult.h"

#include "providers/DecodingError.h"

namespace folvane {

namespace rd = json_read;

ModelsResult ModelsResult::decode(std::string_view text) {
    auto value = rd::parse(text);
    rd::object(value, "ModelsResult");
    ModelsResult result;
    for (const auto& entry : rd::array(rd::required(value, "data"), "data")) {
        rd::object(entry, "data");
        ModelResult model;
        model.id = rd::string(rd::required(entry, "id"), "id");
        model.created = rd::integer(rd::required(entry, "created"), "created");
        model.object = rd::string(rd::required(entry, "object"), "object");
        model.ownedBy = rd::string(rd::required(entry, "owned_by"), "owned_by");
        result.data.push_back(std::move(model));
    }
    result.object = rd::string(rd::required(value, "object"), "object");
    return result;
}

}  // namespace folvane
