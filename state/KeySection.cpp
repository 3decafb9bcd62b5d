#include "state/KeySection.h"

namespace LldpSnmpd {

Schema SectionInfo::schema() const {
    Schema properties = Schema::object();
    Schema requiredKeys = Schema::array();
    for (const auto& key : info_) {
        properties[key.name] = key.schema;
        if (!key.description.empty()) {
            properties[key.name]["description"] = key.description;
        }
        if (key.required) {
            requiredKeys.push_back(key.name);
        }
    }
    Schema out = {{"type", "object"}, {"properties", properties}};
    if (!requiredKeys.empty()) {
        out["required"] = requiredKeys;
    }
    out["additionalProperties"] = false;
    return out;
}

std::string SectionInfo::table() const {
    std::string out = "| key | type | default | description |\n|---|---|---|---|\n";
    for (const auto& key : info_) {
        out += "| `" + key.name + "` | " + key.type + (key.required ? ", *required*" : "") + " | " +
               key.byDefault + " | " + key.description + " |\n";
    }
    return out;
}

} // namespace LldpSnmpd
