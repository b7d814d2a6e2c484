#pragma once

#include "Masker.h"

#include <map>
#include <string>
#include <vector>

/** A row of the tables of masked and of unmasked texts. */
struct MaskCase
{
    std::string mask; ///< the name that a mask has to say in each line with a secret
    std::string input;
    std::map<std::size_t, std::string> kept; ///< of each such line: what it has to begin with
    std::vector<std::string> secrets;        ///< what must not be in the output
};

/** The rows of "secrets.txt": what must not pass. */
std::vector<MaskCase> SecretCases();

/** The rows of "harmless.txt": texts that pass as they are. */
std::vector<std::string> HarmlessCases();

/** What comes out for each of the texts, which one object masks one after the other. */
std::vector<std::string> MaskedEach(const std::vector<std::string>& texts, const std::string& rules = {});

/** What comes out for the input, fed in pieces of so many bytes, with the built-in rules if none are given. */
std::string Masked(const std::string& input, std::size_t pieceSize = std::string::npos, const std::string& rules = {},
                   char key = 'k');

/** The same with an object that may have masked other texts before. */
std::string MaskedBy(DiagSeal::Masker& masker, const std::string& input, std::size_t pieceSize);
