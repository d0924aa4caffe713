#pragma once

/// \file
/// The sample types of the plots.

/// The sample types that every plot intake takes, written once: the drawer
/// and both graph windows instantiate and export their templates from it.
/// X is a macro of one argument, called for each type.
#define ORVEK_PLOT_ELEMENT_TYPES(X) X(char) X(short) X(int) X(float) X(double) X(unsigned char)
