// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Mlag/LagMember>

namespace Mlag::Ostra {

LagMember::~LagMember() = default;

LagMember::NotifieeConst::~NotifieeConst() = default;

} // namespace Mlag::Ostra
