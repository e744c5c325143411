#pragma once

#include "rastelo.h"

/// Complex arithmetic, in double precision, each product and each sum rounded once.
namespace Torvex {

inline Complex Add(const Complex& a, const Complex& b) { return {a.re + b.re, a.im + b.im}; }

inline Complex Sub(const Complex& a, const Complex& b) { return {a.re - b.re, a.im - b.im}; }

inline Complex Mul(const Complex& a, const Complex& b) {
  return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
}

}  // namespace Torvex
