#pragma once

#include <string>

#include "host/jitter/Transfer.hpp"
#include "host/pictures/Picture.hpp"

namespace amisim {

/// The lines for the terminal: gain and phase at each frequency, bandwidth and peaking at each
/// amplitude, the verdict on the mask, the jitter generation.
std::string ToTable(const JitterTransfer& transfer);

/// A row for each point.
std::string ToCsv(const JitterTransfer& transfer);

/// Gain and phase over frequency, a curve for each amplitude, and the mask.
Picture TransferPicture(const JitterTransfer& transfer);

/// transfer.html
/// @param pictures  of which there is a file beside it
std::string TransferPage(const JitterTransfer& transfer, const PictureFormats& pictures);

}  // namespace amisim
