// Broken models: each must be refused with its line and its reason.
#include <gtest/gtest.h>
#include <zlib.h>

#include <cstdio>
#include <fstream>

#include "model_text.hpp"
#include "modelio/read_model.hpp"
#include "modelio/text_source.hpp"

namespace ov::modelio {
namespace {

using test::modelWith;

struct Malformed {
    std::string text;
    std::int64_t line;
    const char* reason;
};

const std::string kRows = "ROWS\n N c\n G r\n";                    // lines 1-3
const std::string kFixedHead = "ROWS\n N  C\n G  R 1\nCOLUMNS\n";  // lines 1-4, blanks in names

std::string withLine(std::size_t length) {
    return "NAME " + std::string(length, 'x') + "\n";
}

const std::vector<Malformed>& cases() {
    static const std::vector<Malformed> all = {
        // the frame
        {"", 1, "the file is empty"},
        {"\n\n* nothing\n", 3, "the file ends without ENDATA"},
        {"NAME only\n", 1, "the file ends without ENDATA"},
        {"ENDATA\n", 1, "the model has no section ROWS"},
        {"ROWS\n N c\nENDATA\n", 3, "the model has no section COLUMNS"},
        {"ROWS\n N c\nCOLUMNS\nENDATA\n", 4, "the model has no columns"},
        {"hello world\n", 1, "unknown section 'hello'"},
        {" x y 1\n", 1, "a data line outside of any section"},
        {"NAME a\n x y 1\n", 2, "a data line outside of any section"},
        {std::string("\x1f\x8b\x08\x00\x01", 5), 1, "control character in the line"},
        {"NAME a\nRO\x01WS\n", 2, "control character in the line"},
        {withLine(70000), 1, "the line is longer than 65536 characters"},
        {"COLUMNS\n x r 1\n", 1, "section COLUMNS before ROWS"},
        {kRows + "RHS\n s r 1\n", 4, "section RHS before COLUMNS"},
        {kRows + "BOUNDS\n UP b x 1\n", 4, "section BOUNDS before COLUMNS"},
        {kRows + "QUADOBJ\n x x 1\n", 4, "section QUADOBJ before COLUMNS"},
        {kRows + "ROWS\n E q\n", 4, "section ROWS comes twice"},
        {modelWith("RHS\n e 1\nBOUNDS\nRHS\n g 1\n"), 16, "section RHS comes twice"},
        {modelWith("QUADOBJ\n x x 1\nQMATRIX\n y y 1\n"), 15, "section QMATRIX comes twice"},
        {modelWith("OBJNAME cost\n"), 13, "section OBJNAME must come before COLUMNS"},
        {modelWith("RHS extra\n"), 13, "unexpected 'extra' after RHS"},
        {modelWith("SOS1\n s1 x 1\n"), 13, "special ordered sets are not supported"},
        {modelWith("QCMATRIX g\n x x 1\n"), 13, "quadratic constraints are not supported"},
        {modelWith("INDICATORS\n"), 13, "indicator constraints are not supported"},
        {modelWith("CSECTION k 0 QUAD\n"), 13, "cones are not supported"},
        {"OBJSENSE\nROWS\n", 2, "OBJSENSE without MAX or MIN"},
        {"OBJSENSE UP\nROWS\n", 1, "expected MAX or MIN, found 'UP'"},
        {"OBJSENSE MAX\n    MIN\n", 2, "OBJSENSE is given twice"},
        {"OBJNAME\nROWS\n", 2, "OBJNAME without a name"},
        {"OBJNAME zz\n" + kRows + "COLUMNS\n", 1, "unknown objective row 'zz'"},
        {"OBJNAME r\n" + kRows + "COLUMNS\n", 1, "objective row 'r' is not an 'N' row"},
        // ROWS
        {"ROWS\n X r\n", 2, "unknown row sense 'X'"},
        {"ROWS\n GE r\n", 2, "unknown row sense 'GE'"},
        {"ROWS\n N c\n N c\n", 3, "duplicate row 'c'"},
        {"ROWS\n G\n", 2, "expected a row sense and a name"},
        // COLUMNS
        {kRows + "COLUMNS\n x R9 1\n", 5, "unknown row 'R9'"},
        {kRows + "COLUMNS\n x r\n", 5, "expected a column and one or two pairs"},
        {kRows + "COLUMNS\n x r 1 c\n", 5, "expected a column and one or two pairs"},
        {kRows + "COLUMNS\n x r 1 c 2 r 3\n", 5, "too many fields"},
        {kRows + "COLUMNS\n x r 1 r 2\n", 5, "duplicate entry for row 'r' in column 'x'"},
        {kRows + "COLUMNS\n x c 0\n x c 2\n", 6, "duplicate entry for row 'c' in column 'x'"},
        {kRows + "COLUMNS\n x r 1\n y r 1\n x c 1\n", 7, "column 'x' comes again"},
        {kRows + "COLUMNS\n x r one\n", 5, "expected a number, found 'one'"},
        {kRows + "COLUMNS\n x r 1e\n", 5, "expected a number, found '1e'"},
        {kRows + "COLUMNS\n x r 1.2.3\n", 5, "expected a number, found '1.2.3'"},
        {kRows + "COLUMNS\n x r 0x10\n", 5, "expected a number, found '0x10'"},
        {kRows + "COLUMNS\n x r 1,5\n", 5, "expected a number, found '1,5'"},
        {kRows + "COLUMNS\n x r +-1\n", 5, "expected a number, found '+-1'"},
        {kRows + "COLUMNS\n x r nan\n", 5, "expected a number, found 'nan'"},
        {kRows + "COLUMNS\n x r inf\n", 5, "number 'inf' is not finite"},
        {kRows + "COLUMNS\n x r -1e999\n", 5, "number '-1e999' is not finite"},
        {kRows + "COLUMNS\n m 'MARKER' 'SOSORG'\n", 5, "unsupported marker ''SOSORG''"},
        // RHS and RANGES
        {modelWith("RHS\n s zz 1\n"), 14, "unknown row 'zz'"},
        {modelWith("RHS\n s e 1\n s e 2\n"), 15, "duplicate right-hand side of row 'e'"},
        {modelWith("RHS\n cost 1 cost 1\n"), 14, "duplicate right-hand side of row 'cost'"},
        {modelWith("RHS\n s e abc\n"), 14, "expected a number, found 'abc'"},
        {modelWith("RHS\n s e inf\n"), 14, "infinite right-hand side of row 'e'"},
        {modelWith("RHS\n s g 1e30\n"), 14, "infinite right-hand side of row 'g'"},
        {modelWith("RHS\n s cost -inf\n"), 14, "infinite right-hand side of row 'cost'"},
        {modelWith("RHS\n e\n"), 14, "expected one or two pairs of a row and a number"},
        {modelWith("RANGES\n s zz 1\n"), 14, "unknown row 'zz'"},
        {modelWith("RANGES\n s e 1\n s e 1\n"), 15, "duplicate range of row 'e'"},
        {modelWith("RANGES\n s e nan\n"), 14, "expected a number, found 'nan'"},
        // BOUNDS
        {modelWith("BOUNDS\n UP b zz 1\n"), 14, "unknown column 'zz'"},
        {modelWith("BOUNDS\n FR b zz\n"), 14, "unknown column 'zz'"},
        {modelWith("BOUNDS\n QQ b x 1\n"), 14, "unknown bound type 'QQ'"},
        {modelWith("BOUNDS\n SC b x 9\n"), 14, "semi-continuous bound 'SC' is not supported"},
        {modelWith("BOUNDS\n UP b x\n"), 14, "expected a number, found 'x'"},
        {modelWith("BOUNDS\n UP x\n"), 14, "a number is missing"},
        {modelWith("BOUNDS\n UP b x 1 2\n"), 14, "expected a bound type"},
        {modelWith("BOUNDS\n UP b x 1\n UP b x 1\n"), 15, "duplicate bound 'UP' of column 'x'"},
        {modelWith("BOUNDS\n UI b x 1\n UP b x 1\n"), 15, "duplicate bound 'UP' of column 'x'"},
        {modelWith("BOUNDS\n FX b x inf\n"), 14, "column 'x' is fixed at infinity"},
        {modelWith("BOUNDS\n LO b x 1e20\n"), 14, "bound 'LO' of column 'x' is plus infinity"},
        {modelWith("BOUNDS\n UP b x -1e20\n"), 14, "bound 'UP' of column 'x' is minus infinity"},
        {modelWith("BOUNDS\n UP b x nan\n"), 14, "expected a number, found 'nan'"},
        // the quadratic part
        {modelWith("QUADOBJ\n x zz 1\n"), 14, "unknown column 'zz'"},
        {modelWith("QUADOBJ\n zz x 1\n"), 14, "unknown column 'zz'"},
        {modelWith("QUADOBJ\n x x 1\n x x 1\n"), 15, "duplicate quadratic entry 'x', 'x'"},
        {modelWith("QUADOBJ\n x y 1\n x x 1\n x y 1\n"), 16,
         "duplicate (only one triangle is expected) quadratic entry 'x', 'y'"},
        {modelWith("QUADOBJ\n x y 1\n y x 1\n"), 15,
         "duplicate (only one triangle is expected) quadratic entry 'y', 'x'"},
        {modelWith("QUADOBJ\n x x inf\n"), 14, "number 'inf' is not finite"},
        {modelWith("QSECTION g\n x x 1\n"), 13, "quadratic constraints are not supported"},
        {modelWith("QSECTION zz\n x x 1\n"), 13, "unknown row 'zz'"},
        {modelWith("QMATRIX\n x x 1\n x y 1\n"), 15,
         "no mirror image of the quadratic entry 'x', 'y'"},
        {modelWith("QMATRIX\n x y 1\n y x 2\n"), 15, "asymmetric quadratic entry 'y', 'x'"},
        {modelWith("QMATRIX\n x y 1\n x y 1\n"), 15, "duplicate quadratic entry 'x', 'y'"},
        {modelWith("QMATRIX\n x y 1\n y x 1\n y x 1\n"), 16, "duplicate quadratic entry 'y', 'x'"},
        // fixed format, where the blanks of 'R 1' leave no free reading
        {kFixedHead + "    X         R 9               1.0\n", 5, "unknown row 'R 9'"},
        {kFixedHead + "    X         R 1\n", 5, "a number is missing"},
        {kFixedHead + "    X         R 1               1 0\n", 5, "expected a number, found '1 0'"},
        {kFixedHead + "    X       R 1                 1.0\n", 5, "text between the fields"},
        {kFixedHead + "              R 1               1.0\n", 5, "a column name is missing"},
        {kFixedHead + " UP X         R 1               1.0\n", 5, "text in columns 2-3"},
        {kFixedHead + "    X\t R 1               1.0\n", 5, "tab in a fixed-format line"},
        // names that would spoil the terminal or the screen
        {kRows + "COLUMNS\n x " + std::string(300, 'a') + " 1\n", 5, "aaa...'"},
    };
    return all;
}

TEST(Malformed, EachIsRefusedWithLineAndReason) {
    EXPECT_GE(cases().size(), 40U);
    for (const Malformed& c : cases()) {
        try {
            (void)readModelText(c.text, "model.qps");
            ADD_FAILURE() << "accepted; expected: " << c.reason << "\n" << c.text.substr(0, 300);
        } catch (const ReadError& error) {
            const std::string prefix = "model.qps:" + std::to_string(c.line) + ": ";
            const std::string what = error.what();
            EXPECT_EQ(what.substr(0, prefix.size()), prefix) << what;
            EXPECT_NE(what.find(c.reason), std::string::npos) << what << "\nexpected: " << c.reason;
            EXPECT_EQ(error.kind(), ReadError::Kind::Invalid);
        }
    }
}

// Every cut and every changed byte of a good model is read or refused, never anything else.
TEST(Malformed, CutsAndFlipsNeverCrash) {
    const std::string good = modelWith(
        "RHS\n s e 1 g 2\nRANGES\n t g 3\nBOUNDS\n UP b x 4\n FR b y\nQMATRIX\n x y 1\n"
        " y x 1\n x x 2\n");
    int refused = 0;
    const auto attempt = [&](const std::string& text) {
        try {
            (void)readModelText(text, "m");
        } catch (const ReadError&) {
            ++refused;
        }
    };
    for (std::size_t k = 0; k < good.size(); ++k) attempt(good.substr(0, k));
    EXPECT_GE(refused, static_cast<int>(good.size()) - 2);  // all but the cut line end
    for (std::size_t k = 0; k < good.size(); ++k) {
        for (const char c : {' ', '\n', '\0', '9', '\'', 'N', '\xff'}) {
            std::string text = good;
            text[k] = c;
            attempt(text);
        }
    }
}

class Files : public testing::Test {
protected:
    void TearDown() override { (void)std::remove(path_.c_str()); }

    void write(const std::string& bytes) {
        std::ofstream(path_, std::ios::binary)
            .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }

    [[nodiscard]] std::string packed(const std::string& text) {
        const gzFile file = gzopen(path_.c_str(), "wb9");
        EXPECT_EQ(gzwrite(file, text.data(), static_cast<unsigned>(text.size())),
                  static_cast<int>(text.size()));
        EXPECT_EQ(gzclose(file), Z_OK);
        std::ifstream in(path_, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }

    void expectError(ReadError::Kind kind, const std::string& part, const TextLimits& limits = {}) {
        try {
            (void)loadText(path_, limits);
            ADD_FAILURE() << "read; expected: " << part;
        } catch (const ReadError& error) {
            EXPECT_EQ(error.kind(), kind);
            EXPECT_NE(std::string(error.what()).find(path_ + part), std::string::npos)
                << error.what();
        }
    }

    std::string path_ = testing::TempDir() + "ov_model_" +
                        testing::UnitTest::GetInstance()->current_test_info()->name();
};

TEST_F(Files, PlainAndCompressedAreTheSame) {
    const std::string text = modelWith("RHS\n e 5\n");
    write(text);
    EXPECT_EQ(readModel(path_).rhs, (std::vector<double>{5, 0, 0}));
    (void)packed(text);
    EXPECT_EQ(readModel(path_).rhs, (std::vector<double>{5, 0, 0}));
}

TEST_F(Files, MissingFilesAndFolders) {
    expectError(ReadError::Kind::NoSuchFile, ": no such file");
    path_ += "/below/nothing";
    expectError(ReadError::Kind::NoSuchFile, ": no such file");
    path_ = testing::TempDir();
    EXPECT_THROW((void)loadText(path_), ReadError);
    path_ = "";
    EXPECT_THROW((void)loadText(path_), ReadError);
}

TEST_F(Files, DamagedCompression) {
    std::string text;
    for (unsigned k = 0; k < 100000; ++k) text += std::to_string(k * 2654435761U) + "\n";
    const std::string whole = packed(text);
    write(whole.substr(0, whole.size() - 100));
    expectError(ReadError::Kind::Invalid, ":");
    write(whole.substr(0, whole.size() - 4));
    expectError(ReadError::Kind::Invalid, ":100001: cannot decompress: the file ends too early");
    std::string flipped = whole;
    flipped[whole.size() - 6] = static_cast<char>(flipped[whole.size() - 6] ^ 1);
    write(flipped);
    expectError(ReadError::Kind::Invalid, ":");
    try {
        (void)loadText(path_);
    } catch (const ReadError& error) {
        EXPECT_EQ(error.reason(), "cannot decompress: incorrect data check");
        EXPECT_GT(error.line(), 10000);
    }
}

TEST_F(Files, ExpansionAndSizeAreLimited) {
    TextLimits limits;
    limits.ratioFrom = 4 << 20;
    (void)packed(std::string(16 << 20, '\n'));
    expectError(ReadError::Kind::Invalid, ":", limits);
    limits.ratioFrom = 1 << 30;
    limits.maxBytes = 8 << 20;
    expectError(ReadError::Kind::Invalid, ":", limits);
}

}  // namespace
}  // namespace ov::modelio
