#pragma once

#include <cstddef>

namespace tov::math {

/// A small matrix of `Rows` x `Columns` values, stored row by row. `m(row, column)` reads and writes one value.
/// Trivially copyable; a default-constructed one is all zero.
template <typename T, unsigned int Rows, unsigned int Columns>
class Matrix
{
public:
    /// An element, counted from 0; indices are not checked.
    T& operator()(unsigned int row, unsigned int column) { return m_Values[row * Columns + column]; }
    /// An element, counted from 0; indices are not checked.
    const T& operator()(unsigned int row, unsigned int column) const { return m_Values[row * Columns + column]; }

    /// The values row by row. OpenGL expects columns: see `transposed`.
    T* data() { return m_Values; }
    /// The values row by row.
    const T* data() const { return m_Values; }

    /// The identity (ones on the diagonal).
    static Matrix identity()
    {
        Matrix result;
        for (unsigned int i = 0; i < (Rows < Columns ? Rows : Columns); ++i)
            result(i, i) = T(1);
        return result;
    }

    /// The transposed matrix. `transposed().data()` is the column-major order that OpenGL reads.
    Matrix<T, Columns, Rows> transposed() const
    {
        Matrix<T, Columns, Rows> result;
        for (unsigned int r = 0; r < Rows; ++r)
            for (unsigned int c = 0; c < Columns; ++c)
                result(c, r) = (*this)(r, c);
        return result;
    }

    /// The matrix product: applies `right` first, then this one.
    template <unsigned int Other>
    Matrix<T, Rows, Other> operator*(const Matrix<T, Columns, Other>& right) const
    {
        Matrix<T, Rows, Other> result;
        for (unsigned int r = 0; r < Rows; ++r)
            for (unsigned int c = 0; c < Other; ++c)
                for (unsigned int k = 0; k < Columns; ++k)
                    result(r, c) += (*this)(r, k) * right(k, c);
        return result;
    }

    bool operator==(const Matrix& other) const = default;

private:
    T m_Values[Rows * Columns] = {};
};

using Matrix4 = Matrix<double, 4u, 4u>;

/// The determinant of the upper left 3 x 3 values: the factor by which a transform scales volumes, negative when it
/// mirrors.
template <typename T, unsigned int Rows, unsigned int Columns>
T volumeScaleOf(const Matrix<T, Rows, Columns>& m)
{
    return m(0, 0) * (m(1, 1) * m(2, 2) - m(1, 2) * m(2, 1)) - m(0, 1) * (m(1, 0) * m(2, 2) - m(1, 2) * m(2, 0)) +
           m(0, 2) * (m(1, 0) * m(2, 1) - m(1, 1) * m(2, 0));
}

} // namespace tov::math
