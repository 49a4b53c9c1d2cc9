// Tells people and programs what a proof found.
#pragma once

#include "base/json_text.h"
#include "proof/proof.h"

#include <string>

namespace qva {

/// What was proofed.
struct ProofSubject {
    const std::string& path;
    const PrinterProfile& profile;
    const DeviceProfile& device;
    const ViewerSpace& viewer;
    const ProofSettings& settings;
};

/// @return lines for people, each with its line end.
std::string ProofText(const ProofSubject& subject, const ProofResult& result);

/// Adds the same to a JSON object that is open.
void WriteProof(JsonWriter& json, const ProofSubject& subject, const ProofResult& result);

} // namespace qva
