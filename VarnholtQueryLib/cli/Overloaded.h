#pragma once

namespace VarnholtQueryLib {

// One visitor out of several lambdas, for std::visit over a Command:
// `std::visit(Overloaded{[](const Command::Help&) {...}, ...}, command.value)`.
template <class... Handlers>
struct Overloaded : Handlers... {
    using Handlers::operator()...;
};
template <class... Handlers>
Overloaded(Handlers...) -> Overloaded<Handlers...>;

}  // namespace VarnholtQueryLib
