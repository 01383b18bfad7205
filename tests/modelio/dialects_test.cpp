// What the reader makes of every feature of the MPS and QPS dialects.
#include <gtest/gtest.h>

#include "model_text.hpp"
#include "modelio/read_model.hpp"

namespace ov::modelio {
namespace {

using test::modelWith;
using Reals = std::vector<double>;
using Ints = std::vector<std::int32_t>;

constexpr double kInf = 1e20;

ModelData parse(const std::string& text) {
    return readModelText(text, "m.qps");
}

bool warns(const ModelData& model, std::int64_t line, const std::string& part) {
    for (const Warning& w : model.warnings)
        if (w.line == line && w.text.find(part) != std::string::npos) return true;
    return false;
}

TEST(Dialects, ObjectiveSense) {
    struct Case {
        const char* header;
        int sense;
    };
    for (const auto& [header, sense] : {Case{"OBJSENSE MAX\n", -1},
                                        {"OBJSENSE\n    MAX\n", -1},
                                        {"OBJSENSE\nMAX\n", -1},
                                        {"OBJSENSE\n    MAXIMIZE\n", -1},
                                        {"OBJSENSE maximise\n", -1},
                                        {"OBJSENSE MIN\n", 1},
                                        {"OBJSENSE\n  MINIMIZE\n", 1}}) {
        EXPECT_EQ(parse(header + modelWith("")).objSense, sense) << header;
        EXPECT_EQ(parse(modelWith(header)).objSense, sense) << "at the end: " << header;
    }
}

TEST(Dialects, ObjectiveByNameAndFurtherFreeRows) {
    const std::string body =
        "ROWS\n N first\n G r\n N second\nCOLUMNS\n x first 1 r 2\n x second 3\n"
        "RHS\n first 7 second 9\nENDATA\n";
    const ModelData byOrder = parse(body);
    EXPECT_EQ(byOrder.objName, "first");
    EXPECT_EQ(byOrder.obj, (Reals{1}));
    EXPECT_EQ(byOrder.objConstant, -7);
    EXPECT_EQ(byOrder.rowSense, (std::vector<char>{'G', 'N'}));
    EXPECT_EQ(byOrder.matValue, (Reals{2, 3}));
    EXPECT_EQ(byOrder.rhs, (Reals{0, 0}));
    EXPECT_TRUE(warns(byOrder, 9, "'second' is ignored"));
    for (const char* header : {"OBJNAME second\n", "OBJNAME\n    second\n"}) {
        const ModelData byName = parse(header + body);
        EXPECT_EQ(byName.objName, "second");
        EXPECT_EQ(byName.obj, (Reals{3}));
        EXPECT_EQ(byName.objConstant, -9);
        EXPECT_EQ(byName.rowName, (std::vector<std::string>{"first", "r"}));
        EXPECT_EQ(byName.rowIndex, (Ints{0, 1}));
    }
}

TEST(Dialects, NoObjectiveRowAndAZeroElement) {
    const ModelData m = parse("ROWS\n G r\n G s\nCOLUMNS\n x s 1 r 0\nENDATA\n");
    EXPECT_EQ(m.obj, (Reals{0}));
    EXPECT_EQ(m.objName, "");
    EXPECT_EQ(m.rowIndex, (Ints{1}));
    EXPECT_TRUE(warns(m, 4, "the objective is zero"));
    EXPECT_TRUE(parse(modelWith("")).warnings.empty());
}

TEST(Dialects, RightHandSidesWithAndWithoutSetName) {
    for (const char* rhs :
         {"RHS\n s e 1 g 2\n s l 3\n s cost 4\n", "RHS\n e 1 g 2\n l 3\n cost 4\n",
          "RHS\n s e 1\n s g 2 l 3\n other e 7\n s cost 4\n"}) {
        const ModelData m = parse(modelWith(rhs));
        EXPECT_EQ(m.rhs, (Reals{1, 2, 3})) << rhs;
        EXPECT_EQ(m.objConstant, -4) << rhs;
    }
    EXPECT_TRUE(warns(parse(modelWith("RHS\n s e 1\n t e 2\n")), 15, "'t' is ignored"));
}

TEST(Dialects, InfiniteRightHandSideFreesARow) {
    const ModelData m = parse(modelWith("RHS\n s l 1e30 g -Inf\n"));
    EXPECT_EQ(m.rowSense, (std::vector<char>{'E', 'N', 'N'}));
    EXPECT_EQ(m.warnings.size(), 2U);
}

struct RangeCase {
    const char* row;
    const char* range;
    char sense;
    double rhs, size;
};

TEST(Dialects, RangesFollowSenseAndSign) {
    // Every right-hand side is 10.
    for (const auto& c : {RangeCase{"e", "4", 'R', 10, 4},
                          {"e", "-4", 'R', 6, 4},
                          {"e", "0", 'E', 10, 0},
                          {"g", "4", 'R', 10, 4},
                          {"g", "-4", 'R', 10, 4},
                          {"l", "4", 'R', 6, 4},
                          {"l", "-4", 'R', 6, 4},
                          {"l", "0", 'E', 10, 0},
                          {"g", "1e30", 'G', 10, 0},
                          {"l", "inf", 'L', 10, 0},
                          {"e", "1e30", 'G', 10, 0},
                          {"e", "-1e30", 'L', 10, 0}}) {
        const std::string rhs = std::string("RHS\n s ") + c.row + " 10\n";
        const std::string range = std::string("RANGES\n t ") + c.row + " " + c.range + "\n";
        for (const std::string& tail : {rhs + range, range + rhs}) {
            const ModelData m = parse(modelWith(tail));
            const std::size_t row = c.row[0] == 'e' ? 0 : c.row[0] == 'g' ? 1 : 2;
            EXPECT_EQ(m.rowSense[row], c.sense) << tail;
            EXPECT_EQ(m.rhs[row], c.rhs) << tail;
            EXPECT_EQ(m.range[row], c.size) << tail;
        }
    }
}

struct BoundCase {
    const char* lines;
    double lower, upper;
};

TEST(Dialects, Bounds) {
    for (const auto& c : {BoundCase{" UP b x 5\n", 0, 5},
                          {" UP x 5\n", 0, 5},
                          {" UP b x 0\n", 0, 0},
                          {" LO b x -5\n", -5, kInf},
                          {" LO b x 2\n UP b x 3\n", 2, 3},
                          {" FX b x -2\n", -2, -2},
                          {" FR b x\n", -kInf, kInf},
                          {" FR x\n", -kInf, kInf},
                          {" FR b x 0\n", -kInf, kInf},
                          {" FR x 0\n", -kInf, kInf},
                          {" MI b x\n", -kInf, kInf},
                          {" MI b x\n UP b x 4\n", -kInf, 4},
                          {" UP b x 4\n MI b x\n", -kInf, 4},
                          {" PL b x\n", 0, kInf},
                          {" BV b x\n", 0, 1},
                          {" BV x\n", 0, 1},
                          {" BV b x 1\n", 0, 1},
                          {" LI b x 1\n UI b x 8\n", 1, 8},
                          {" UP b x -3\n", -kInf, -3},
                          {" UP b x -3\n LO b x -7\n", -7, -3},
                          {" LO b x -7\n UP b x -3\n", -7, -3},
                          {" LO b x 5\n UP b x 3\n", 5, 3},
                          {" UP b x 1e30\n", 0, kInf},
                          {" LO b x -1e31\n", -kInf, kInf},
                          {" UP b x Infinity\n LO b x -inf\n", -kInf, kInf},
                          {" UP b x 1e400\n", 0, kInf},
                          {" FR b x\n UP b x 3\n", -kInf, 3}}) {
        const ModelData m = parse(modelWith(std::string("BOUNDS\n") + c.lines));
        EXPECT_EQ(m.lower, (Reals{c.lower, 0})) << c.lines;
        EXPECT_EQ(m.upper, (Reals{c.upper, kInf})) << c.lines;
    }
}

TEST(Dialects, BoundWarnings) {
    EXPECT_TRUE(warns(parse(modelWith("BOUNDS\n UP b y 1\n UP b x -3\n")), 15, "minus infinity"));
    EXPECT_TRUE(parse(modelWith("BOUNDS\n UP b x -3\n LO b x -9\n")).warnings.empty());
    EXPECT_TRUE(warns(parse(modelWith("BOUNDS\n BV b y\n LI b x 0\n")), 14, "2 integer bounds"));
    EXPECT_TRUE(warns(parse(modelWith("BOUNDS\n FX b x 1\n UP b x 2\n")), 15, "replaces"));
}

TEST(Dialects, IntegerMarkersWarn) {
    const ModelData m = parse(
        "ROWS\n N c\n G r\nCOLUMNS\n x r 1\n M1 'MARKER' 'INTORG'\n y r 1\n z r 2\n"
        " M2 'MARKER' 'INTEND'\n w r 1\nENDATA\n");
    EXPECT_EQ(m.numCol, 4);
    EXPECT_EQ(m.upper, (Reals{kInf, kInf, kInf, kInf}));
    EXPECT_TRUE(warns(m, 7, "2 integer columns are read as continuous"));
}

TEST(Dialects, LineEndsTabsMarksAndComments) {
    std::string text = "\xef\xbb\xbf" + modelWith("* late\n\n   \t \nRHS\n\te\t1\n");
    EXPECT_EQ(parse(text).rhs, (Reals{1, 0, 0}));
    std::string dos;
    for (const char c : text) dos += c == '\n' ? std::string("\r\n") : std::string(1, c);
    EXPECT_EQ(parse(dos).rhs, (Reals{1, 0, 0}));
    EXPECT_EQ(parse(text.substr(0, text.size() - 1)).rhs, (Reals{1, 0, 0}));  // no last line end
    EXPECT_EQ(parse(text + "whatever follows\n").rhs, (Reals{1, 0, 0}));
}

TEST(Dialects, Numbers) {
    struct Case {
        const char* text;
        double value;
    };
    for (const auto& [text, value] : {Case{"12", 12},
                                      {"+1.5", 1.5},
                                      {"-.5", -.5},
                                      {"5.", 5},
                                      {"1e3", 1000},
                                      {"1E+3", 1000},
                                      {"2.5D-01", 0.25},
                                      {"1d2", 100},
                                      {"1e-400", 0},
                                      {"-0", 0},
                                      {"0.1000000000000000055511151231257827", 0.1},
                                      {"4.9e-324", 4.9e-324}}) {
        EXPECT_EQ(parse(modelWith(std::string("RHS\n e ") + text + "\n")).rhs[0], value) << text;
    }
}

TEST(Dialects, WarningsAreBounded) {
    std::string text = "ROWS\n N c\n G r\nCOLUMNS\n";
    for (int j = 0; j < 500; ++j) text += " x" + std::to_string(j) + " r 1\n";
    text += "BOUNDS\n";
    for (int j = 0; j < 500; ++j) text += " UP b x" + std::to_string(j) + " -1\n";
    const ModelData m = parse(text + "ENDATA\n");
    ASSERT_EQ(m.warnings.size(), 101U);
    EXPECT_EQ(m.warnings.back().text, "and 400 more warnings");
}

}  // namespace
}  // namespace ov::modelio
