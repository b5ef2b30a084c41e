#include "qvutils/common/object/qvclassinfo.h"

bool qvClassInfo::IsKindOf(const qvClassInfo* other) const {
    if (this == other) return true;
    return (base1_ && base1_->IsKindOf(other)) || (base2_ && base2_->IsKindOf(other));
}

bool qvClassInfo::IsKindOf(std::string_view className) const {
    if (className == name_) return true;
    return (base1_ && base1_->IsKindOf(className)) || (base2_ && base2_->IsKindOf(className));
}

bool qvClassInfo::IsMainType(const qvClassInfo* other) const {
    const qvClassInfo* info = this;
    while (info && info != other) info = info->base1_;
    return info != nullptr;
}

bool qvClassInfo::IsMainType(std::string_view className) const {
    const qvClassInfo* info = this;
    while (info && className != info->name_) info = info->base1_;
    return info != nullptr;
}
