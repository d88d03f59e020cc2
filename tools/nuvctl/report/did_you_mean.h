// What a person may have meant who typed what is not there.
#pragma once

#include <string>
#include <vector>

// "; did you mean launch?", of up to three that are like it; empty where none is.
std::string DidYouMean(const std::string& typed, const std::vector<std::string>& known);
