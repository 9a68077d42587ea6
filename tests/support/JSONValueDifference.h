#pragma once

#include <string>

#include <nlohmann/json.hpp>

namespace VarnholtTestSupport {

// Where `actual` differs from `expected` as a JSON value: the path of the
// first difference and both values ("meta.query.idle_seconds: 300.0 against
// 300"), or "" when they are the same value. Stricter than nlohmann's ==,
// which finds 300 and 300.0 equal: a number read from an integer literal
// and one read from a literal with a fraction or exponent differ, because a
// reader in another language keeps them apart (an int and a float).
// Objects compare by key, arrays element by element.
std::string jsonValueDifference(const nlohmann::json& actual, const nlohmann::json& expected);

}  // namespace VarnholtTestSupport
