#pragma once

#include "Masker.h"

#include <re2/re2.h>

#include <memory>
#include <string>
#include <vector>

/** A row of the tables of masked and of unmasked texts. */
struct MaskCase
{
    std::string input;
    std::shared_ptr<const RE2> output; ///< What comes out, with any pseudonym.
    std::vector<std::string> secrets;  ///< What must not be in it.
};

/** The rows of "harmless.txt", texts that pass as they are, and of "secrets.txt". */
std::vector<MaskCase> MaskCases();

/** The inputs of these rows. */
std::vector<std::string> MaskInputs();

/** A masker with these rules, or the built-in ones. */
DiagSeal::Masker MakeMasker(const std::string& rules = {}, char key = 'k');

/** What comes out for the input, fed in pieces of so many bytes. The masker may have masked other texts before. */
std::string MaskedBy(DiagSeal::Masker& masker, const std::string& input, std::size_t pieceSize = std::string::npos);

/** What comes out of a new masker. */
std::string Masked(const std::string& input, const std::string& rules = {}, char key = 'k');
