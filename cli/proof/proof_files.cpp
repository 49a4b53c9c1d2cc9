#include "proof/proof_files.h"

#include "proof/view_pictures.h"

namespace qva {

ProofFiles::ProofFiles(const ProofNames& names)
{
    const auto open = [](std::optional<Picture>& picture, const std::string& path) {
        if (!path.empty()) {
            picture.emplace(path);
        }
    };
    open(proof_, names.proof);
    open(gamutMap_, names.gamutMap);
    open(inkMap_, names.inkMap);
}

void ProofFiles::Begin(const ProofFormat& format)
{
    size_ = format.size;
    bits_ = format.bits;
    inkLimit_ = format.inkLimit;
    row_.resize(static_cast<std::size_t>(size_.width * 3));
    deepRow_.resize(row_.size());
    if (proof_) {
        proof_->png.emplace(proof_->file, size_, bits_, format.profile);
    }
    for (std::optional<Picture>* map : {&gamutMap_, &inkMap_}) {
        if (*map) {
            (*map)->png.emplace((*map)->file, size_, 8, std::vector<unsigned char>());
        }
    }
}

void ProofFiles::Write(const float* row)
{
    const auto pixels = static_cast<std::size_t>(size_.width);
    if (proof_ && bits_ == 16) {
        ProofRow16(row, pixels, deepRow_.data());
        proof_->png->Write(deepRow_.data());
    } else if (proof_) {
        ProofRow8(row, pixels, row_.data());
        proof_->png->Write(row_.data());
    }
    if (gamutMap_) {
        GamutRow(row, pixels, row_.data());
        gamutMap_->png->Write(row_.data());
    }
    if (inkMap_) {
        InkRow(row, pixels, inkLimit_, row_.data());
        inkMap_->png->Write(row_.data());
    }
}

void ProofFiles::Commit()
{
    for (std::optional<Picture>* picture : {&proof_, &gamutMap_, &inkMap_}) {
        if (*picture) {
            (*picture)->png->Finish();
        }
    }
    for (std::optional<Picture>* picture : {&proof_, &gamutMap_, &inkMap_}) {
        if (*picture) {
            (*picture)->file.Commit();
        }
    }
}

} // namespace qva
