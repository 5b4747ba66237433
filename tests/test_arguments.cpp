// The bad-argument sweep: every exported function, as its row of
// tests/symbols/arguments.table describes its arguments, is called with each
// pointer null in turn, then with each bad size, step and range value of the
// row, and must return the documented status, in the documented order, with
// every buffer it was given (filled with a canary pattern), every cursor and
// every pointer held through a pointer unchanged.  The rows' grammar is in
// the table's header.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "zubvc.h"

namespace {

// ---------------------------------------------------------------------------
// Rows.

struct Token {
    std::string name;            // "pSrc", "pParams.srcStep", "*pBitOffset"
    std::string kind;            // p, p?, size, step, range, val
    ZubStatus status = 0;        // for bad values
    std::string valid;           // "" = zero / a fresh buffer
    std::vector<std::string> bad;
    bool topLevel() const { return name.find('.') == std::string::npos && name[0] != '*'; }
};

struct Row {
    std::string function;
    bool unchecked = false;  // "-": a kernel or allocator that checks nothing
    std::vector<Token> tokens;
    int line = 0;
};

ZubStatus defaultStatus(const std::string& kind) {
    if (kind == "p") return ZubStatusNullPointer;
    if (kind == "size") return ZubStatusBadSize;
    if (kind == "step") return ZubStatusBadStep;
    if (kind == "range") return ZubStatusOutOfRange;
    return 0;
}

// NAME:KIND[(STATUS)][=VALID][!BAD,BAD...]
Token parseToken(const std::string& text) {
    Token t;
    const size_t colon = text.find(':');
    t.name = text.substr(0, colon);
    std::string rest = colon == std::string::npos ? "" : text.substr(colon + 1);
    const size_t bang = rest.find('!');
    if (bang != std::string::npos) {
        std::stringstream bad(rest.substr(bang + 1));
        for (std::string v; std::getline(bad, v, ',');) t.bad.push_back(v);
        rest = rest.substr(0, bang);
    }
    const size_t eq = rest.find('=');
    if (eq != std::string::npos) {
        t.valid = rest.substr(eq + 1);
        rest = rest.substr(0, eq);
    }
    const size_t paren = rest.find('(');
    t.kind = rest.substr(0, paren);
    t.status = paren == std::string::npos ? defaultStatus(t.kind)
                                          : static_cast<ZubStatus>(std::stol(rest.substr(paren + 1)));
    return t;
}

std::vector<Row> readTable() {
    std::vector<Row> rows;
    std::ifstream f(ZUBVC_ARGUMENT_TABLE);
    int line = 0;
    for (std::string s; std::getline(f, s);) {
        ++line;
        s = s.substr(0, s.find('#'));
        std::stringstream words(s);
        Row r;
        r.line = line;
        if (!(words >> r.function)) continue;
        for (std::string w; words >> w;) {
            if (w == "-") r.unchecked = true;
            else r.tokens.push_back(parseToken(w));
        }
        rows.push_back(r);
    }
    return rows;
}

// ---------------------------------------------------------------------------
// Arguments.  Every pointer points into the middle of its own arena of 64 KiB
// filled with a canary; a pointer to a pointer, to a record or to a value
// holds that pointer, record or value at the arena's middle.

constexpr size_t kArena = 65536;

long long number(const std::string& s) { return std::strtoll(s.c_str(), nullptr, 0); }

class Builder {
public:
    // override: token name -> value text ("null" for a pointer)
    Builder(const Row& row, std::map<std::string, std::string> overrides) : row_(row), over_(std::move(overrides)) {}

    const Token* token(const std::string& name) const {
        for (const Token& t : row_.tokens)
            if (t.name == name) return &t;
        return nullptr;
    }
    std::string text(const std::string& name) const {
        auto it = over_.find(name);
        if (it != over_.end()) return it->second;
        const Token* t = token(name);
        return t ? t->valid : "";
    }

    template <class T> void make(T& out, const std::string& name) {
        if constexpr (std::is_pointer_v<T>) {
            if (text(name) == "null") {
                out = nullptr;
                return;
            }
            uint8_t* mid = arena();
            const Token* self = token(name);
            if (self && !self->valid.empty() && (self->kind == "p" || self->kind == "p?"))
                std::memset(mid - kArena / 2, static_cast<int>(number(self->valid)), kArena);
            using U = std::remove_cv_t<std::remove_pointer_t<T>>;
            if constexpr (std::is_pointer_v<U>) {
                make(*reinterpret_cast<U*>(mid), "*" + name);
            } else if constexpr (std::is_class_v<U>) {
                U* rec = new (mid) U{};
                fill(*rec, name);
            } else if constexpr (std::is_arithmetic_v<U>) {
                if (token("*" + name)) make(*reinterpret_cast<U*>(mid), "*" + name);
            }
            out = reinterpret_cast<T>(mid);
        } else if constexpr (std::is_same_v<T, ZubSize>) {
            const std::string s = text(name);
            const size_t x = s.find('x');
            out = s.empty() ? ZubSize{0, 0}
                            : ZubSize{static_cast<int>(number(s.substr(0, x))), static_cast<int>(number(s.substr(x + 1)))};
        } else if constexpr (std::is_same_v<T, ZubPoint>) {
            const std::string s = text(name);
            const size_t c = s.find(',');
            out = s.empty() ? ZubPoint{0, 0}
                            : ZubPoint{static_cast<int>(number(s.substr(0, c))), static_cast<int>(number(s.substr(c + 1)))};
        } else {
            static_assert(std::is_arithmetic_v<T>, "argument type the sweep does not know");
            out = static_cast<T>(number(text(name)));
        }
    }

    // Records: every field the row names ("name.field") is made as an
    // argument; the others stay zero.
    template <class R> void fill(R& rec, const std::string& name);

    std::vector<std::string> topLevelNames() const {
        std::vector<std::string> names;
        for (const Token& t : row_.tokens)
            if (t.topLevel()) names.push_back(t.name);
        return names;
    }
    void takeSnapshot() { snapshot_ = arenas_; }
    bool unchanged() const { return arenas_ == snapshot_; }
    std::vector<std::string> knownFields;  // "name.field" of every record field made

private:
    uint8_t* arena() {
        arenas_.emplace_back(kArena, uint8_t{0xA5});
        return arenas_.back().data() + kArena / 2;
    }
    const Row& row_;
    std::map<std::string, std::string> over_;
    std::deque<std::vector<uint8_t>> arenas_, snapshot_;
};

// The fields of each argument record, by the names rows use.  A new record
// type gets its specialisation here.
template <class R> struct Fields;
template <> struct Fields<H264DeblockingParams> {
    template <class F> static void each(H264DeblockingParams& r, F&& f) {
        f("srcDst", r.srcDst);
        f("srcDstStep", r.srcDstStep);
        f("alpha", r.alpha);
        f("beta", r.beta);
        f("thresholds", r.thresholds);
        f("bS", r.bS);
        f("bitDepth", r.bitDepth);
    }
};
template <> struct Fields<InterpolationKernelRecord> {
    template <class F> static void each(InterpolationKernelRecord& r, F&& f) {
        f("src", r.src);
        f("srcStep", r.srcStep);
        f("dst", r.dst);
        f("dstStep", r.dstStep);
        f("fracX", r.fracX);
        f("fracY", r.fracY);
        f("width", r.width);
        f("height", r.height);
        f("kernelIndex", r.kernelIndex);
        f("readX", r.readX);
        f("readY", r.readY);
        f("readWidth", r.readWidth);
        f("readHeight", r.readHeight);
        f("frameWidth", r.frameWidth);
        f("frameHeight", r.frameHeight);
        f("srcPlane2", r.srcPlane2);
        f("dstPlane2", r.dstPlane2);
        f("bitDepth", r.bitDepth);
    }
};
template <> struct Fields<H264InterpolationParams_16u> {
    template <class F> static void each(H264InterpolationParams_16u& r, F&& f) {
        f("src", r.src);
        f("srcStep", r.srcStep);
        f("dst", r.dst);
        f("dstStep", r.dstStep);
        f("dx", r.dx);
        f("dy", r.dy);
        f("width", r.width);
        f("height", r.height);
        f("bitDepth", r.bitDepth);
    }
};
template <> struct Fields<H264BlockInterpolationParams> {
    template <class F> static void each(H264BlockInterpolationParams& r, F&& f) {
        f("srcPlane[0]", r.srcPlane[0]);
        f("srcPlane[1]", r.srcPlane[1]);
        f("srcStep", r.srcStep);
        f("dstPlane[0]", r.dstPlane[0]);
        f("dstPlane[1]", r.dstPlane[1]);
        f("dstStep", r.dstStep);
        f("frameSize", r.frameSize);
        f("blockSize", r.blockSize);
        f("blockPos", r.blockPos);
        f("motionVector", r.motionVector);
        f("bitDepth", r.bitDepth);
    }
};
template <> struct Fields<H264BidirParams_16u> {
    template <class F> static void each(H264BidirParams_16u& r, F&& f) {
        f("src1", r.src1);
        f("src1Step", r.src1Step);
        f("src2", r.src2);
        f("src2Step", r.src2Step);
        f("dst", r.dst);
        f("dstStep", r.dstStep);
        f("width", r.width);
        f("height", r.height);
        f("bitDepth", r.bitDepth);
    }
};

template <class R> void Builder::fill(R& rec, const std::string& name) {
    Fields<R>::each(rec, [&](const char* field, auto& member) {
        const std::string n = name + "." + field;
        knownFields.push_back(n);
        if (token(n)) make(member, n);
    });
}

// ---------------------------------------------------------------------------
// The functions the table names, each wrapped into a call that makes its
// arguments from a Builder (no call for functions without a status).

using Call = std::function<ZubStatus(Builder&)>;

template <class R, class... A> Call wrap(R (*f)(A...)) {
    if constexpr (!std::is_same_v<R, ZubStatus>) {
        return {};
    } else {
        return [f](Builder& b) -> ZubStatus {
            std::tuple<std::remove_cv_t<A>...> args;
            const std::vector<std::string> names = b.topLevelNames();
            if (names.size() != sizeof...(A)) {
                ADD_FAILURE() << "the row names " << names.size() << " arguments, the function takes "
                              << sizeof...(A);
                return 1;
            }
            [&]<size_t... I>(std::index_sequence<I...>) {
                (b.make(std::get<I>(args), names[I]), ...);
            }(std::index_sequence_for<A...>{});
            b.takeSnapshot();
            return std::apply(f, args);
        };
    }
}

#define ZUBVC_SWEEP_FUNCTION(f) {#f, wrap(&f)},
const std::map<std::string, Call> kFunctions = {
#include "argument_functions.inc"
};

// ---------------------------------------------------------------------------

std::string describe(const std::map<std::string, std::string>& over) {
    std::string s;
    for (const auto& [k, v] : over) s += (s.empty() ? "" : ", ") + k + " = " + v;
    return s.empty() ? "valid arguments" : s;
}

TEST(ArgumentSweep, EveryFunctionChecksInTheDocumentedOrderAndWritesNothing) {
    const std::vector<Row> rows = readTable();
    ASSERT_FALSE(rows.empty()) << ZUBVC_ARGUMENT_TABLE;
    int cases = 0;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.function + " (arguments.table line " + std::to_string(row.line) + ")");
        const auto fn = kFunctions.find(row.function);
        ASSERT_NE(fn, kFunctions.end());
        if (!fn->second) {
            EXPECT_TRUE(row.unchecked && row.tokens.empty()) << "a function without a status has the row \"-\"";
            continue;
        }
        if (row.unchecked) continue;

        auto run = [&](const std::map<std::string, std::string>& over, ZubStatus expect) {
            Builder b(row, over);
            const ZubStatus st = fn->second(b);
            EXPECT_EQ(st, expect) << describe(over);
            EXPECT_TRUE(b.unchanged()) << "memory written with " << describe(over);
            ++cases;
            return b.knownFields;
        };

        // A row whose only token is "status(S)" names an entry that returns S.
        std::vector<const Token*> pointers, checked;
        const Token* fixed = nullptr;
        for (const Token& t : row.tokens) {
            if (t.name == "status") fixed = &t;
            else if (t.kind == "p") pointers.push_back(&t);
            else if (!t.bad.empty()) checked.push_back(&t);
            else EXPECT_TRUE(t.kind == "p?" || t.kind == "val" || t.kind == "size" || t.kind == "step" ||
                             t.kind == "range") << "token " << t.name << " of kind " << t.kind;
        }
        if (fixed) {
            Row inner = row;
            std::erase_if(inner.tokens, [](const Token& t) { return t.name == "status"; });
            Builder b(inner, {});
            const ZubStatus st = fn->second(b);
            EXPECT_EQ(st, fixed->status);
            EXPECT_TRUE(b.unchanged());
            ++cases;
            continue;
        }
        // Every bad value of the checks from the i-th on, the i-th alone and
        // with the first bad value of every later one.
        auto laterBad = [&](size_t from) {
            std::map<std::string, std::string> over;
            for (size_t j = from; j < checked.size(); ++j) over[checked[j]->name] = checked[j]->bad[0];
            return over;
        };
        std::vector<std::string> known;
        for (const Token* p : pointers) {
            run({{p->name, "null"}}, ZubStatusNullPointer);
            auto over = laterBad(0);
            over[p->name] = "null";
            known = run(over, ZubStatusNullPointer);
        }
        for (size_t i = 0; i < checked.size(); ++i)
            for (const std::string& v : checked[i]->bad) {
                known = run({{checked[i]->name, v}}, checked[i]->status);
                auto over = laterBad(i + 1);
                over[checked[i]->name] = v;
                run(over, checked[i]->status);
            }
        for (const Token& t : row.tokens) {
            if (t.name.find('.') != std::string::npos) {
                EXPECT_NE(std::find(known.begin(), known.end(), t.name), known.end())
                    << t.name << " is no field of the record";
            }
        }
    }
    EXPECT_GT(cases, 0);
}

}  // namespace
