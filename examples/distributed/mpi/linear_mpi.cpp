// A weighted linear regression over MPI: each rank sums its part of the blocks of a CSV file, rank 0 merges the states in
// their order. The bits are the same for every number of ranks, and those of modelcore.distributed on the same blocks.
// Usage: mpirun -n RANKS linear_mpi FILE.csv STATE BLOCK_BYTES WEIGHTS VARIABLE... TARGET
// A VARIABLE is a column of numbers, or column=level: 1 where the column has that text. STATE: where the sums are saved.
// Cells have neither commas nor line ends in them. An empty one is missing; its row is left out.
#include "modelcore/modelcore.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <mpi.h>
#include <string>
#include <utility>
#include <vector>

using namespace MCMath_930;
using MCXML_930::MCStateBytes;

namespace {

using Variable = std::pair<std::size_t, std::string>; // a column and the level that it indicates, if it does

[[noreturn]] void Stop(const std::string& message)
{
    std::fprintf(stderr, "linear_mpi: %s\n", message.c_str());
    MPI_Abort(MPI_COMM_WORLD, 2);
    std::abort();
}

std::vector<std::string> Cells(const std::string& line)
{
    std::vector<std::string> cells(1);
    for (const char c : line)
        if (c == ',')
            cells.emplace_back();
        else if (c != '"' && c != '\r')
            cells.back() += c;
    return cells;
}

double Number(const Variable& variable, const std::vector<std::string>& cells)
{
    const std::string& cell = cells[variable.first];
    if (cell.empty()) return std::nan(""); // missing
    if (!variable.second.empty()) return cell == variable.second ? 1.0 : 0.0;
    double number = 0.0;
    const auto [end, fault] = std::from_chars(cell.data(), cell.data() + cell.size(), number);
    if (fault != std::errc() || end != cell.data() + cell.size()) Stop("no number: " + cell);
    return number;
}

/// The sums of the lines that begin in a block of the file, 1024 rows at a time.
MCMeansXProducts Sum(std::ifstream& file, std::streamoff begin, std::streamoff end, std::size_t columns,
                     const std::vector<Variable>& variables)
{
    constexpr int kRows = 1024;
    const int width = static_cast<int>(variables.size()); // the last one is the weight
    MCMeansXProducts sums(width - 1, true, true, false);
    MCRectMatrix rows(kRows, width);
    int waiting = 0;
    std::string line;
    file.clear();
    file.seekg(begin - 1);
    if (file.get() != '\n') std::getline(file, line); // it belongs to the block before
    while (file.tellg() < end && std::getline(file, line)) {
        const std::vector<std::string> cells = Cells(line);
        if (cells.size() != columns) Stop("a line of another number of cells: " + line);
        bool complete = true;
        for (int j = 0; j < width; ++j) {
            const double x = Number(variables[static_cast<std::size_t>(j)], cells);
            complete = complete && !std::isnan(x);
            rows.SetElem(waiting, j, x);
        }
        if (complete && rows.GetElem(waiting, width - 1) != 0.0) ++waiting;
        if (waiting == kRows) sums.Update(rows, std::exchange(waiting, 0));
    }
    if (waiting > 0) sums.Update(rows, waiting);
    return sums;
}

/// The next state that a rank sends.
std::string Receive(int rank)
{
    MPI_Status status;
    int length = 0;
    MPI_Probe(rank, 0, MPI_COMM_WORLD, &status);
    MPI_Get_count(&status, MPI_CHAR, &length);
    std::string state(static_cast<std::size_t>(length), '\0');
    MPI_Recv(state.data(), length, MPI_CHAR, rank, 0, MPI_COMM_WORLD, MPI_STATUS_IGNORE);
    return state;
}

} // namespace

int main(int argc, char** argv)
{
    MPI_Init(&argc, &argv);
    int rank = 0, ranks = 1;
    MPI_Comm_rank(MPI_COMM_WORLD, &rank);
    MPI_Comm_size(MPI_COMM_WORLD, &ranks);
    if (argc < 7) Stop("FILE.csv STATE BLOCK_BYTES WEIGHTS VARIABLE... TARGET are needed");
    std::ifstream file(argv[1], std::ios::binary);
    std::string header;
    if (!std::getline(file, header)) Stop("no data");
    const std::vector<std::string> names = Cells(header);
    std::vector<std::string> wanted(argv + 5, argv + argc);
    wanted.emplace_back(argv[4]);
    std::vector<Variable> variables;
    for (const std::string& text : wanted) {
        const std::string name = text.substr(0, text.find('='));
        const auto place = std::find(names.begin(), names.end(), name);
        if (place == names.end()) Stop("no column " + name);
        variables.emplace_back(place - names.begin(), text.substr(std::min(name.size() + 1, text.size())));
    }
    // Blocks of the same bytes whatever the number of ranks; each rank takes a run of them, and keeps their states apart.
    const std::streamoff first = file.tellg(), size = file.seekg(0, std::ios::end).tellg(), step = std::stoll(argv[3]);
    const std::streamoff blocks = (size - first + step - 1) / step;
    std::vector<std::string> states;
    for (std::streamoff k = blocks * rank / ranks; k < blocks * (rank + 1) / ranks; ++k)
        states.push_back(MCStateBytes::Save(
            Sum(file, first + k * step, std::min(first + (k + 1) * step, size), names.size(), variables)));
    if (rank > 0) {
        for (const std::string& state : states)
            MPI_Send(state.data(), static_cast<int>(state.size()), MPI_CHAR, 0, 0, MPI_COMM_WORLD);
        return MPI_Finalize();
    }
    MCMeansXProducts total, part;
    for (int from = 0; from < ranks; ++from)
        for (std::streamoff k = blocks * from / ranks; k < blocks * (from + 1) / ranks; ++k) {
            std::string state = from == 0 ? states[static_cast<std::size_t>(k)] : Receive(from);
            const MCStateBytes::Fault fault = MCStateBytes::Restore(state, part);
            if (fault != MCStateBytes::Ok) Stop("block " + std::to_string(k) + ": " + MCStateBytes::GetText(fault));
            if (k > 0 && !total.Merge(part)) Stop("block " + std::to_string(k) + " has other variables");
            if (k == 0) total = part;
        }
    std::ofstream(argv[2], std::ios::binary) << MCStateBytes::Save(total);

    MCSymMatrix matrix = total.GetXProds();
    const int target = matrix.GetNRows() - 1;
    std::vector<double> diagonal, coefficients;
    matrix.GetDiagonal(diagonal);
    MCBitSet swept(target + 1);
    for (int k = 0; k < target; ++k) matrix.Sweep(k, 1e-12, diagonal, swept, true); // what is refused is aliased: 0
    matrix.GetRegCoeffs(target, swept, coefficients);
    for (std::size_t j = 0; j + 1 < coefficients.size(); ++j)
        std::printf("%s %.17g\n", wanted[j].c_str(), coefficients[j]);
    return MPI_Finalize();
}
