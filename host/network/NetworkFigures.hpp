#pragma once

#include <string_view>
#include <vector>

#include "host/channel/ChannelCurves.hpp"
#include "host/channel/ChannelNetwork.hpp"
#include "host/network/LossFit.hpp"
#include "host/network/Reflectometry.hpp"

namespace amisim {

/// What limits are about and files hold, by name: dB over frequency.
struct NetworkCurve
{
    std::string_view name;   ///< "insertion_loss_db"
    std::string_view title;  ///< "Insertion loss"
    std::vector<double> db;  ///< NaN where it is not known
};

/// What is told of the couplings into a channel's end.
struct CrosstalkTerm
{
    FrequencyResponse response;
    bool isNear;
};

/// What an engineer asks of a channel.
struct NetworkFigures
{
    std::vector<double> frequency;  ///< Hz
    std::vector<NetworkCurve> curves;
    LossFit fit;
    Reflectometry source, load;  ///< from the transmitter's end, and the receiver's
    double reference = 0.0;      ///< ohm, of the pair or the single line

    const NetworkCurve* Find(std::string_view name) const;
};

/// All of them, between references; `crosstalk` may have other frequencies.
///
///  - insertion_loss_db: -20 log10 |SDD21|; fitted_loss_db; loss_deviation_db: what the first has
///    above the second, between the fit's frequencies
///  - return_loss_source_db, return_loss_load_db: -20 log10 |SDD11|, |SDD22|
///  - crosstalk_ratio_db: 10 log10 (|SDD21|^2 / sum of |coupling|^2); fitted_crosstalk_ratio_db:
///  the
///    straight line over log f of least squares from 100 MHz to 5.15625 GHz; with crosstalk alone
///  - conversion_scd21_db, conversion_sdc21_db, conversion_scd11_db: 20 log10 |S|, of pairs
///
/// Of a two-port S21 and so on are meant. Throws Error (kInput) as FitLoss.
NetworkFigures FiguresOf(const ChannelNetwork& network, const std::vector<CrosstalkTerm>& crosstalk,
                         const FitChoice& fit);

}  // namespace amisim
