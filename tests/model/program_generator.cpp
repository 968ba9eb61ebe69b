#include "program_generator.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace foundation::tests::model {
namespace {

// What makes objects and states is more frequent than what ends them, so that there is something to work on.
std::size_t weightOf(const Kind& kind) {
    switch (kind.verb) {
        case Verb::insert:
        case Verb::findOrInsert:
            return 14;
        case Verb::construct:
        case Verb::activateContext:
            return 10;
        case Verb::erase:
        case Verb::eraseAll:
        case Verb::activateSet:
        case Verb::getActiveContexts:
        case Verb::getPreviousContexts:
            return 5;
        case Verb::free:
        case Verb::destroy:
            return kind.scope == Scope::process ? 1 : 3;
        case Verb::shutdown:
        case Verb::deactivate:
        case Verb::exchangeHandler:
            return 1;
        default:
            return 3;
    }
}

// Deleters tell most where they get at the contexts and states that their own ones depend on.
std::size_t weightAtDeath(const Kind& kind) {
    switch (kind.verb) {
        case Verb::free:
        case Verb::destroy:
            return 8;
        case Verb::insert:
        case Verb::erase:
        case Verb::eraseAll:
            return 4;
        default:
            return 1;
    }
}

template <class Weight>
rc::Gen<Kind> anyKind(const Weight& weight) {
    std::vector<Kind> weighted;
    for (const Kind& kind : kinds)
        weighted.insert(weighted.end(), weight(kind), kind);
    return rc::gen::elementOf(std::move(weighted));
}

// More than there are objects of one sort, so that each can be meant.
rc::Gen<std::uint8_t> anyOperand() { return rc::gen::inRange<std::uint8_t>(0, 12); }

template <class Weight>
rc::Gen<Call> anyCall(const Weight& weight) {
    return rc::gen::build<Call>(rc::gen::set(&Call::kind, anyKind(weight)), rc::gen::set(&Call::a, anyOperand()),
                                rc::gen::set(&Call::b, anyOperand()));
}

rc::Gen<std::optional<Call>> anyDeath() {
    return rc::gen::oneOf(rc::gen::just(std::optional<Call>()),
                          rc::gen::map(anyCall(&weightAtDeath), [](const Call& call) { return std::optional(call); }));
}

// Without trace the first few allocations are all that there are; with it there may be dozens.
rc::Gen<unsigned> anyFailingAllocation() {
    return rc::gen::weightedOneOf<unsigned>(
        {{20, rc::gen::just(0U)}, {4, rc::gen::inRange(0U, 3U)}, {1, rc::gen::inRange(0U, 60U)}});
}

rc::Gen<Operation> anyOperation() {
    return rc::gen::build<Operation>(rc::gen::set(&Operation::call, anyCall(&weightOf)),
                                     rc::gen::set(&Operation::thread, rc::gen::element(0, 0, 0, 1, 1, 2)),
                                     rc::gen::set(&Operation::failingAllocation, anyFailingAllocation()),
                                     rc::gen::set(&Operation::atDeath, anyDeath()));
}

// Most programs begin as applications do: from nothing, most operations are misuse of the same few kinds.
rc::Gen<Program> anyOpening() {
    const auto step = [](Kind kind, std::uint8_t a = 0, std::uint8_t b = 0, int thread = 0) {
        return Operation{.call = {.kind = kind, .a = a, .b = b}, .thread = thread};
    };
    const Operation process = step({Verb::construct});
    const Operation zarn = step({Verb::construct, Scope::zarn});
    const Operation workspace = step({Verb::construct, Scope::workspace});
    const Program bare;
    const Program processAlone = {process};
    const Program oneThread = {process, zarn, workspace, step({Verb::activateContext, Scope::workspace})};
    const Program twoThreads = {process,   zarn,
                                workspace, step({Verb::activateContext, Scope::workspace}),
                                zarn,      step({Verb::activateContext, Scope::zarn}, 1, 0, 1)};
    return rc::gen::elementOf(std::vector{bare, processAlone, oneThread, twoThreads, twoThreads});
}

/// The operation with one operand less each.
rc::Seq<Operation> simpler(const Operation& operation) {
    std::vector<Operation> result;
    const auto add = [&](const auto& change) {
        Operation changed = operation;
        change(changed);
        if (changed != operation) result.push_back(changed);
    };
    add([](Operation& changed) { changed.atDeath.reset(); });
    add([](Operation& changed) { changed.failingAllocation = 0; });
    add([](Operation& changed) { changed.thread = 0; });
    for (std::uint8_t Call::*const operand : {&Call::a, &Call::b}) {
        add([&](Operation& changed) { changed.call.*operand = 0; });
        add([&](Operation& changed) { changed.call.*operand /= 2; });
        if (!operation.atDeath) continue;
        add([&](Operation& changed) { (*changed.atDeath).*operand = 0; });
        add([&](Operation& changed) { (*changed.atDeath).*operand /= 2; });
    }
    return rc::seq::fromContainer(std::move(result));
}

/// Programs of fewer operations, and of simpler ones.
rc::Seq<Program> smaller(const Program& program) {
    return rc::seq::concat(rc::shrink::removeChunks(program), rc::shrink::eachElement(program, &simpler));
}

}  // namespace

rc::Gen<Program> anyProgram() {
    const auto rest = rc::gen::scale(2.0, rc::gen::container<Program>(anyOperation()));
    return [opening = anyOpening(), rest](const rc::Random& random, int size) {
        rc::Random source = random;
        Program program = opening(source.split(), size).value();
        const Program more = rest(source.split(), size).value();
        program.insert(program.end(), more.begin(), more.end());
        return rc::shrinkable::shrinkRecur(std::move(program), &smaller);
    };
}

}  // namespace foundation::tests::model
