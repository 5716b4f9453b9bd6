// What linreg does with input it cannot use, output it cannot write, and a user who stops it.
#include "Linreg.h"

#include <chrono>
#include <sstream>
#include <thread>
#include <tuple>

#include <pty.h>
#include <sys/stat.h>

namespace {

const std::string kLongley = EXAMPLES_DATA "/longley.csv";

struct BadCase {
    const char* name;
    std::string data;      // the text of data.csv; empty: there is no such file
    std::string options;   // apart by blanks
    const char* complaint; // all of the line after "linreg: ", PATH standing for the path of data.csv
};

/// 100 rows of 60 factors, every value of which is a new level.
std::string WithManyLevels()
{
    std::ostringstream text;
    text << 'y';
    for (int j = 0; j < 60; ++j) text << ",f" << j;
    for (int i = 0; i < 100; ++i) {
        text << '\n' << i;
        for (int j = 0; j < 60; ++j) text << ",a" << i;
    }
    text << '\n';
    return text.str();
}

const BadCase kBadCases[] = {
    {"missing file", "", "--target y", "PATH: cannot be opened: No such file or directory"},
    {"unknown target", "y,x\n1,2\n", "--target z", "PATH, line 1: there is no column 'z'"},
    {"unknown predictor", "y,x\n1,2\n", "--target y --predictors x,w", "PATH, line 1: there is no column 'w'"},
    {"name that differs in case", "Y,x\n1,2\n", "--target y",
     "PATH, line 1: there is no column 'y'; there is one named 'Y'"},
    {"another delimiter", "y;x\n1;2\n", "--target y",
     "PATH, line 1: there is no column 'y'; the columns seem to be separated by ';': --delimiter ';'"},
    {"UTF-16", std::string("\xFF\xFEy\0,\0x\0", 8), "--target y", "PATH: the text is UTF-16; convert it to UTF-8"},
    {"a NUL in a field", std::string("y,x\n1,2\n2,a\0b\n", 14), "--target y",
     "PATH, line 3, column 2 (x): text 'a b' in a column that was numeric; name it in --factors to take its values as "
     "names, or in --missing if it means that there is none"},
    {"delimiter that is none", "y,x\n1,2\n", "--target y --delimiter ;;",
     "delimiter: it must be one character, no quote and no blank, or tab"},
    {"ambiguous name", "y,x,x\n1,2,3\n", "--target y --predictors x",
     "PATH, line 1: more than one column is named 'x'"},
    {"two roles", "y,x\n1,2\n", "--target y --predictors x,y", "column 'y' is given two roles"},
    {"factor without a role", "y,x,g\n1,2,3\n", "--target y --predictors x --factors g",
     "--factors names 'g', which is not a predictor"},
    {"no header", "\n\n", "--target y", "PATH: no header row"},
    {"ragged row", "y,x\n1,2\n\n1,2,3\n", "--target y", "PATH, line 4: the row has 3 fields, the header 2"},
    {"line numbers count lines inside quotes", "y,x,\"t\r\nt\"\r\n1,2,\"a\r\nb\"\r\n1,2\r\n", "--target y",
     "PATH, line 5: the row has 2 fields, the header 3"},
    {"text in a numeric column", "y,x\n1,2\n2,3\n3,4x\n", "--target y",
     "PATH, line 4, column 2 (x): text '4x' in a column that was numeric; name it in --factors to take its values as "
     "names, or in --missing if it means that there is none"},
    {"text in the target", "x,y\n1,abc\n", "--target y",
     "PATH, line 2, column 2 (y): text 'abc' in the column of the target"},
    {"text in a weight", "y,x,w\n1,2,3\n2,3,many\n", "--target y --weight w",
     "PATH, line 3, column 3 (w): text 'many' in the column of the regression weight"},
    {"out of range", "y,x\n1,2\n2,1e999\n", "--target y",
     "PATH, line 3, column 2 (x): the number '1e999' is out of range"},
    {"squares out of range", "y,x\n1,2\n2,1e200\n3,4\n", "--target y",
     "PATH: column 'x' has numbers too large to be squared and summed"},
    {"quote not closed", "y,x\n1,2\n2,\"3\n4,5\n", "--target y", "PATH, line 3: a quoted field is not closed"},
    {"no cases", "y,x,n\n1,,1\n2,3,0\n4,5,NA\n", "--target y --frequency n",
     "PATH: no cases are left: 3 rows, 1 with a missing value, 2 with a weight that is missing or not positive"},
    {"too few cases", "y,a,b\n1,2,3\n4,5,7\n", "--target y",
     "PATH: fewer cases than parameters: 2 rows can be used for 3 parameters"},
    {"too many levels", WithManyLevels(), "--target y",
     "PATH, line 85, column 21 (f19): the model has more than 5000 parameters"},
    {"document over data", "y,x\n1,2\n2,3\n3,5\n", "--target y --xml PATH", "PATH: it would replace the data"},
    {"level outside 0 to 1", "y,x\n1,2\n", "--target y --level 95", "level: 95 is not legal; legal: (0, 1)"},
    {"unwritable document", "y,x\n1,2\n2,3\n3,5\n", "--target y --xml /nowhere/fit.xml",
     "/nowhere/fit.xml: cannot be written: No such file or directory"},
};

TEST(LinregBadInput, IsOneClearLineAndStatusTwoAndNothingIsWritten)
{
    for (const BadCase& bad : kBadCases) {
        SCOPED_TRACE(bad.name);
        const TemporaryFolder folder;
        const std::string path = bad.data.empty() ? folder.File("data.csv") : folder.Write("data.csv", bad.data);
        const std::string document = folder.Write("fit.xml", "of an earlier run");
        const std::size_t files = folder.Count();
        std::vector<std::string> arguments = {path, "--threads", "2"};
        std::istringstream options(bad.options);
        for (std::string option; options >> option;) arguments.push_back(option == "PATH" ? path : option);
        if (bad.options.find("--xml") == std::string::npos) arguments.insert(arguments.end(), {"--xml", document});
        const ProgramResult result = Linreg(arguments);

        std::string complaint = std::string("linreg: ") + bad.complaint + "\n";
        if (const std::size_t at = complaint.find("PATH"); at != std::string::npos) complaint.replace(at, 4, path);
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(result.err, complaint);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(ReadFile(document), "of an earlier run");
        EXPECT_EQ(folder.Count(), files); // no temporary file stays behind
    }
    EXPECT_EQ(Linreg({kLongley}).status, 2);
    EXPECT_EQ(Linreg({kLongley, "--target", "TOTEMP", "--colour"}).status, 2);
    EXPECT_EQ(Linreg({"--help"}).status, 0);
    EXPECT_EQ(RunProgram({"sh", "-c", "\"$0\" --help >/dev/full", LINREG_PROGRAM}).status, 2);
}

TEST(LinregInput, ATextAmongNumbersIsSaidOrIsMissing)
{
    std::string rows = "y\tx\n1\tn/a\n";
    for (int i = 2; i < 40; ++i) rows += std::to_string(i * i % 7) + "\t" + std::to_string(i) + "\n";
    const std::vector<std::string> command = {"-", "--target", "y", "--delimiter", "tab"};
    const ProgramResult factor = Linreg(command, rows);
    EXPECT_EQ(factor.err, "linreg: warning: x was taken as a factor because its first value is 'n/a', but 38 of its 39 "
                          "values are numbers; --missing says what means a missing value\n");
    EXPECT_NE(factor.out.find("x        input    factor      39\n"), std::string::npos) << factor.out;

    std::vector<std::string> told = command;
    told.insert(told.end(), {"--missing", "n/a,-99"});
    const ProgramResult number = Linreg(told, rows);
    EXPECT_EQ(number.err, "");
    EXPECT_NE(number.out.find("x        input    number\n"), std::string::npos) << number.out;
    EXPECT_NE(number.out.find("  a value is missing                      1\n"), std::string::npos) << number.out;
}

TEST(LinregBadInput, APipeIsRefusedForTextInANumericColumnAsAFileIs)
{
    std::string text = "y,x\n";
    for (int i = 0; i < 5000; ++i) text += std::to_string(i % 11) + "," + std::to_string(i) + "\n";
    const ProgramResult result = Linreg({"-", "--target", "y"}, text + "1,abc\n");
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err.rfind("linreg: standard input, line 5002, column 2 (x): text 'abc'", 0), 0u) << result.err;
}

TEST(LinregOutput, ADocumentReplacesAnOlderOneAndALinkStaysALink)
{
    const TemporaryFolder folder;
    const std::string older = folder.Write("older.xml", "older");
    const std::string link = folder.File("link.xml");
    std::filesystem::create_symlink(older, link);
    EXPECT_EQ(Linreg({kLongley, "--target", "TOTEMP", "--xml", link}).status, 0);
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(ReadFile(older).rfind("<?xml", 0), 0u);
    EXPECT_EQ(folder.Count(), 2u);

    // The mode stays, and a file that nobody may write is nobody's to replace.
    EXPECT_EQ(chmod(older.c_str(), 0640), 0);
    EXPECT_EQ(Linreg({kLongley, "--target", "TOTEMP", "--xml", older}).status, 0);
    struct stat status {};
    EXPECT_EQ(stat(older.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640u);
    EXPECT_EQ(chmod(older.c_str(), 0444), 0);
    const ProgramResult refused = Linreg({kLongley, "--target", "TOTEMP", "--xml", older});
    EXPECT_EQ(refused.err, "linreg: " + older + ": cannot be written: it is read-only\n");

    // Table and document appear both or not at all.
    const std::string fresh = folder.File("fresh.xml");
    const ProgramResult full = RunProgram(
        {"sh", "-c", "\"$0\" \"$@\" >/dev/full", LINREG_PROGRAM, kLongley, "--target", "TOTEMP", "--xml", fresh});
    EXPECT_EQ(full.status, 2);
    EXPECT_NE(full.err.find("standard output cannot be written"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(fresh));
    EXPECT_EQ(folder.Count(), 2u);
}

// The disk is full after so many bytes of any file: documents, pictures, predictions, models, saved states. The program says
// so, and none of the files appears.
TEST(EveryProgram, SaysThatTheDiskIsFullAndLeavesNothing)
{
    const std::string visits = EXAMPLES_DATA "/visits.csv";
    const TemporaryFolder folder;
    const auto out = [&folder](const char* name) { return folder.File(name); };
    const std::vector<std::vector<std::string>> commands = {
        {LINREG_PROGRAM, kLongley, "--target", "TOTEMP", "--charts", out("a"), "--pmml", out("a.pmml"), "--xml",
         out("a.xml"), "--predictions", out("a.csv")},
        {LINREG_PROGRAM, kLongley, "--target", "TOTEMP", "--save", out("b.state"), "--xml", out("b.xml")},
        {EVALUATE_PROGRAM, visits, "--target", "frequent", "--score", "score", "--cutoff", "0.2", "--charts", out("c")},
        {LOGREG_PROGRAM, visits, "--model", "frequent ~ score", "--charts", out("f"), "--pmml", out("f.pmml"),
         "--predictions", out("f.csv")},
        {DESCRIBE_PROGRAM, kLongley, "--svg", out("d.svg"), "--xml", out("d.xml")},
        {DESCRIBE_PROGRAM, kLongley, "--save", out("e.state")},
    };
    for (const std::vector<std::string>& command : commands) {
        int refusals = 0;
        for (int room = 2;; room += 1 + room / 4) { // of 512 bytes; the message goes to a file too
            std::vector<std::string> limited = {
                "sh", "-c", "trap '' XFSZ; ulimit -f " + std::to_string(room) + "; exec \"$@\"", "sh"};
            limited.insert(limited.end(), command.begin(), command.end());
            const ProgramResult result = RunProgram(limited);
            if (result.status == 0) break;
            ++refusals;
            EXPECT_EQ(result.status, 2) << room;
            EXPECT_TRUE(result.err.find("cannot be written") != std::string::npos ||
                        result.err.find("temporary file of the cases cannot be used") != std::string::npos)
                << room << result.err;
            EXPECT_EQ(folder.Count(), 0u) << room << " leaves files of " << command[0];
            if (HasFailure()) return;
        }
        EXPECT_GT(refusals, 3) << command[0];
        EXPECT_GT(folder.Count(), 0u);
        for (const auto& file : std::filesystem::directory_iterator(folder.File("."))) {
            EXPECT_GT(file.file_size(), 0u) << file;
            std::filesystem::remove(file);
        }
    }
}

TEST(LinregInterrupt, StopsAtTheNextBlockAndWritesNothing)
{
    std::string rows = "y,x\n";
    for (int i = 0; i < 100000; ++i) rows += std::to_string(i % 17) + "," + std::to_string(i % 101) + "\n";
    for (const char* const threads : {"1", "3"}) {
        const TemporaryFolder folder;
        Program program(LinregCommand({"-", "--target", "y", "--threads", threads, "--xml", folder.File("fit.xml")}));
        program.Send(rows); // more than a pipe holds: when this returns, the program is reading
        program.Signal(SIGINT);
        const ProgramResult result = program.Finish();
        EXPECT_EQ(result.status, 130);
        EXPECT_EQ(result.err, "linreg: interrupted: nothing was written\n");
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(folder.Count(), 0u);
    }
}

// A named pipe has no other end: opening it would wait for ever.
TEST(LinregInterrupt, ReachesAProgramThatWaitsForANamedPipe)
{
    const TemporaryFolder folder;
    const std::string pipe = folder.File("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const auto& [signal, data, document] :
         {std::tuple{SIGTERM, pipe, folder.File("fit.xml")}, std::tuple{SIGHUP, kLongley, pipe}}) {
        Program program(LinregCommand({data, "--target", "TOTEMP", "--xml", document, "--quiet"}));
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        program.Signal(signal);
        const ProgramResult result = program.Finish();
        EXPECT_EQ(result.status, 128 + signal);
        EXPECT_EQ(result.err, "linreg: interrupted: nothing was written\n");
        EXPECT_EQ(folder.Count(), 1u);
    }
}

TEST(LinregProgress, ShowsOnATerminalOnly)
{
    int terminal = -1;
    int end = -1;
    if (openpty(&terminal, &end, nullptr, nullptr, nullptr) != 0) GTEST_SKIP() << "no pseudo terminals here";
    const std::string name = ttyname(end);
    const std::vector<std::string> shell = {"sh", "-c", "t=$1; shift; \"$0\" \"$@\" 2>\"$t\"", LINREG_PROGRAM, name};
    const auto shown = [&](const std::vector<std::string>& options) {
        std::vector<std::string> command = shell;
        command.insert(command.end(), {kLongley, "--target", "TOTEMP"});
        command.insert(command.end(), options.begin(), options.end());
        EXPECT_EQ(RunProgram(command).status, 0);
        EXPECT_EQ(write(end, "|", 1), 1); // so that there is something to read
        std::string text;
        for (char c = 0; c != '|' && read(terminal, &c, 1) == 1;) text += c;
        return text;
    };
    const std::string bar = shown({});
    EXPECT_EQ(bar.rfind("\r\033[K[###############", 0), 0u) << bar;
    EXPECT_NE(bar.find("50%"), std::string::npos) << bar; // the first of two readings is done
    EXPECT_NE(bar.find("rows/s"), std::string::npos) << bar;
    EXPECT_NE(bar.find("s left"), std::string::npos) << bar;
    EXPECT_TRUE(bar.ends_with("\r\033[K|")) << bar; // it is gone in the end
    EXPECT_EQ(shown({"--quiet"}), "|");
    EXPECT_EQ(Linreg({kLongley, "--target", "TOTEMP"}).err, "");
    close(end);
    close(terminal);
}

} // namespace
