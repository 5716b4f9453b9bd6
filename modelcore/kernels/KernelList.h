// The kernels, each declared here and nowhere else: KERNEL(result, Name, (parameters)). Whoever includes this list says
// before what KERNEL makes of a line; a body of the same name and parameters stands in one of the headers of bodies/.
//
// A kernel takes raw pointers and counts, allocates nothing and checks nothing. Its comment says what bits it promises:
// every version of a kernel gives the same bits, because vectors run across independent elements and never across the
// terms of one sum.
#ifndef KERNEL
#error "define KERNEL(result, Name, parameters) before including KernelList.h"
#endif

// clang-format off

// Along vectors

/// y[j] += c * x[j] for j in [0, count). Two roundings per element and no sum across elements, so every vector width
/// gives the same bits. x and y must not overlap.
KERNEL(void, AddScaled, (double* y, double c, const double* x, std::size_t count))

/// y += factors[k*factorStep] * row k, `step` apart, for k = 0 .. count-1 in this order; y and the rows are `length`
/// elements long. Two roundings per term; a factor of 0 multiplies like any other. y must not overlap the rows.
KERNEL(void, AddRows, (double* y, const double* rows, std::ptrdiff_t step, std::size_t count, const double* factors,
                       std::ptrdiff_t factorStep, std::size_t length))

/// x[j] *= c for j in [0, count). One rounding per element.
KERNEL(void, Scale, (double* x, double c, std::size_t count))

/// Plane rotation: x[j], y[j] become c*x[j] + s*y[j] and c*y[j] - s*x[j]. Three roundings per element. x and y must not
/// overlap.
KERNEL(void, Rotate, (double* x, double* y, double c, double s, std::size_t count))

/// The largest magnitude of x as a loop finds it that starts at element 0 and moves on when an element is larger: a NaN
/// in x[0] stays, any other is passed over. count >= 1.
KERNEL(double, LargestMagnitude, (const double* x, std::size_t count))

/// deviations[i] = x[i] - means[i], then means[i] += deviations[i] * share, for i in [0, count). The three must not
/// overlap.
KERNEL(void, StepMeans, (double* deviations, double* means, const double* x, double share, std::size_t count))


// Columns of a matrix stored column by column

/// Column j of c, columnStep apart, += factors[j*factorStep] * x for j in [0, columns), each column `count` elements
/// long. A column whose factor is 0 is not touched, so that signed zeros and infinities stay as they are. Two roundings
/// per element. x and the factors must not overlap what is written.
KERNEL(void, AddOuterProduct, (double* c, std::ptrdiff_t columnStep, std::size_t columns, const double* factors,
                               std::ptrdiff_t factorStep, const double* x, std::size_t count))

/// lines[r][j] += factors[r] * x[j] for r in [0, nLines) and j in [0, count + r*growth). A line whose factor is 0 is not
/// touched. Two roundings per element. x must not overlap the lines.
KERNEL(void, AddToLines, (double* const* lines, std::size_t nLines, const double* factors, const double* x, std::size_t count,
                          std::size_t growth))

/// y += factors[j] * column j of c, columnStep apart, for j = 0 .. columns-1 in this order, leaving out factors of 0; y
/// and the columns are `count` elements long. Two roundings per term. y must not overlap the columns.
KERNEL(void, AddColumns, (double* y, const double* c, std::ptrdiff_t columnStep, std::size_t columns,
                          const double* factors, std::size_t count))

/// Applies a unit lower triangle to columns of c, in place: for k = 0 .. order-2, rows i > k of a column receive
/// lower(i, k) times its row k, unless that is 0. lower(i, k) is at lower[k*lowerStep + i]. Two roundings per term.
KERNEL(void, ApplyUnitLower, (double* c, std::ptrdiff_t columnStep, std::size_t columns, const double* lower,
                              std::ptrdiff_t lowerStep, int order))

/// dots[j] = x . column j of c, columnStep apart, for j in [0, columns): each sum from 0 in index order, several of
/// them side by side. Two roundings per term.
KERNEL(void, DotColumns, (double* dots, const double* c, std::ptrdiff_t columnStep, std::size_t columns,
                          const double* x, std::size_t count))


// Tiles and their operands

/// One tile of a product: lines[r][w] += left[k*kTileLines + r] * right[k*kTileWidth + w] for r < kTileLines and
/// w < kTileWidth, k = 0 .. depth-1 in this order, each product rounded before it is added. Operands are packed as
/// TileProduct.h does it; the lines must not overlap them.
KERNEL(void, AddProductTile, (double* const* lines, const double* left, const double* right, std::size_t depth))

/// AddProductTile with both operands in panels: element k of line r is left[k*kPanelLines + r], and so for the right.
KERNEL(void, AddPanelTile, (double* const* lines, const double* left, const double* right, std::size_t depth))

/// out += left * right for rows x depth and depth x cols elements, all where they stand; when it is fresh, out = left *
/// right, each sum from 0. Rows of out and of the right operand are steps apart; element (r, k) of the left one is at
/// left[r*lineStep + k*termStep], termStep not 0. Each element receives its terms in index order, each product rounded
/// before it is added. For operands that stay in the innermost cache; out must not overlap them.
KERNEL(void, AddSmallProduct, (double* out, std::ptrdiff_t outStep, const double* left, std::ptrdiff_t lineStep,
                               std::ptrdiff_t termStep, std::size_t rows, std::size_t depth, const double* right,
                               std::ptrdiff_t rightStep, std::size_t cols, bool fresh))

/// The lower triangle, row by row, of a product of order <= kMostTriangleRows as AddSmallProduct forms it when it is fresh.
KERNEL(void, StoreSmallTriangle, (double* packed, std::size_t order, const double* left, std::ptrdiff_t lineStep,
                                  std::ptrdiff_t termStep, std::size_t depth, const double* right,
                                  std::ptrdiff_t rightStep))

/// packed[k*kTileLines + r] = lines[r][k] for r < kTileLines and k < depth: a left operand of AddProductTile.
/// @return whether one of them is 0
KERNEL(bool, PackLines, (double* packed, const double* const* lines, std::size_t depth))

/// Packs rows[k*rowStep + w] - origin[w] for w < width and k < count as a right operand of AddProductTile: strips of
/// kTileWidth columns, in each the rows one after the other. What stands beside the last columns of the last strip is
/// left as it is. One rounding per element.
KERNEL(void, PackDifferences, (double* packed, const double* rows, std::size_t rowStep, const double* origin, int width,
                               int count))

/// Packs weights[k] * (rows[k*rowStep + r] - origin[r]) for r < lines <= kTileLines and k < count as a left operand of
/// AddProductTile, leaving the elements of further lines as they are. Two roundings per element.
KERNEL(void, PackWeightedDifferences, (double* packed, const double* rows, std::size_t rowStep, const double* origin,
                                       const double* weights, int lines, int count))

/// Factors a square of a Cholesky factor: square[k*step + r] is element k of line r >= k, first the matrix's own and then the
/// factor's, and sums[k*step + r] what the terms before the square add up to. For each k in order, pivot k is the root of own
/// - sum, when that is larger than least[k], and 0 otherwise; then element k of the lines behind is (own - sum) / pivot, or 0
/// when that is 0, and the sums of their later elements grow by the products of two such elements. Without `least` every
/// pivot is the root, and the first that would be of a number <= 0 ends it and stays as it was. Returns how many lines are
/// finished. step is a multiple of 8, not below the order; what stands above the diagonal or behind the last line is of no
/// use afterwards.
KERNEL(int, FactorCholeskySquare, (double* square, double* sums, std::ptrdiff_t step, int order, const double* least))

/// Finishes kPanelLines elements of a panel of kPanelLines lines of a Cholesky factor below a square that is finished. For
/// each k in order, and all lines r side by side, the sum sums[k][r] grows by square[m][k] * panel[m][r] for m = 0 .. k-1, and
/// panel[k][r] becomes (own[k][r] - sum) / square[k][k], or 0 when that pivot is 0. Every row of the four is kPanelLines long.
KERNEL(void, FinishCholeskyPanel, (double* panel, const double* sums, const double* own, const double* square))


// Strips

/// On a strip of kReflectionWidth or kStripWidth columns stored row by row: row i += v[i]*factors, then dots += next[i] *
/// row i, for i in [0, rows) in order. Without v only the dots, without next only the first half is done. Two roundings
/// per term.
KERNEL(void, ReflectStrip, (double* strip, int width, const double* v, const double* factors, const double* next, double* dots,
                            std::size_t rows))

/// On kStripWidth rows of a matrix stored column by column: for k = 0 .. count-1 in this order the plane rotation
/// (c[k], s[k]) of columns k and k + 1, as Rotate does it.
KERNEL(void, RotateStrip, (double* strip, const double* c, const double* s, std::size_t count))

/// On kStripWidth rows stored column by column: y += factors[j] * column j for j = 0 .. columns-1 in this order,
/// leaving out factors of 0. Two roundings per term. y must not be one of the columns.
KERNEL(void, AddStripColumns, (double* y, const double* strip, const double* factors, std::size_t columns))


// Packed lower triangles

/// AddOuterProducts (Kernels.h) without packing, for few rows or terms.
KERNEL(void, AddOuterProductsByRows, (double* packed, std::size_t order, const double* left, const double* right,
                                      std::size_t count))

/// One pass over a symmetric matrix A, given as its packed lower triangle. First the update by two vectors:
/// A(j,k) -= u[j]*q[k], then A(j,k) -= q[j]*u[k]. Then the product of A and v, unless v is null: product[j] is
/// the sum of A(j,k)*v[k] over k = 0 .. j in this order, then of A(i,j)*v[i] over i = j+1 .. order-1. Two roundings per
/// term. No vector may overlap another or the matrix.
KERNEL(void, UpdateAndMultiply, (double* packed, std::size_t order, const double* u, const double* q, const double* v,
                                 double* product))

/// The symmetric matrix whose lower triangle is packed row by row, spelled out: rows of `order` elements.
KERNEL(void, SpreadTriangle, (double* square, const double* packed, std::size_t order))

/// out = S*v for the symmetric matrix whose lower triangle is packed row by row: each sum from 0 in index order. Two
/// roundings per term. out must overlap neither.
KERNEL(void, MultiplyPacked, (const double* packed, std::size_t order, const double* v, double* out))


// Slices (KernelTable.h). Every count of rows is a multiple of 8, and every result without rounding, so that it has the
// same bits in any order, except where it says so.

/// The largest magnitude of x, a NaN when an element is not finite, and the smallest that is not 0, infinity without any.
KERNEL(void, MagnitudeRange, (const double* x, std::size_t count, double* largest, double* smallest))

/// slice = x*scale, a power of two, if those are all integers; sum is that of the slice. False, and slice of no use,
/// otherwise. |x*scale| <= 2^kSliceBits.
KERNEL(bool, CutWhole, (double* slice, const double* x, double scale, std::size_t count, double* sum))

/// slice = x*scale, a power of two, rounded to the nearest integer, rest = x*scale - slice. rest may be x.
/// |x*scale| < 2^51, and no product with the scale underflows.
KERNEL(void, CutSlice, (double* slice, double* rest, const double* x, double scale, std::size_t count,
                        CutResult* result))

/// The same with high + low, high being the sum rounded, for x and for the rest. nRests is not counted.
KERNEL(void, CutPairSlice, (double* slice, double* high, double* low, double scale, std::size_t count,
                            CutResult* result))

/// high + low = (x*xScale) * (weights*weightScale), high being that rounded (Dekker 1971). The scales are powers of two,
/// and no product overflows or underflows.
KERNEL(void, WeighColumn, (double* high, double* low, const double* x, double xScale, const double* weights,
                           double weightScale, std::size_t count))

/// sums = x + y, slices both.
KERNEL(void, AddSlices, (double* sums, const double* x, const double* y, std::size_t count))

/// sums[i*step + j] = left[i] . right[j] for j in [0, nRight) and i in [firstLeft[j], nLeft), vectors of slices or of sums
/// of two; firstLeft does not decrease. Some further elements of the columns are written as well.
KERNEL(void, SumSliceProducts, (double* sums, std::size_t step, const double* const* left, std::size_t nLeft,
                                const double* const* right, std::size_t nRight, const std::size_t* firstLeft,
                                std::size_t count))

/// columns[j*columnStep + t] = rows[t*rowStep + j] for j in [0, width) and t in [0, count), any count.
KERNEL(void, SpreadRows, (double* columns, std::size_t columnStep, const double* rows, std::size_t rowStep,
                          std::size_t width, std::size_t count))

// clang-format on

#undef KERNEL
