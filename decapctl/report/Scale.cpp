#include "decapctl/report/Scale.h"

#include <algorithm>
#include <cmath>

namespace Ctl::Report {

std::vector<double> ticks(double greatest, int wanted) {
   if (!(greatest > 0)) return {0};
   double const rough = greatest / wanted;
   double const decade = std::pow(10.0, std::floor(std::log10(rough)));
   double step = decade * 10;
   for (double const nice : {1.0, 2.0, 5.0}) {
      if (decade * nice >= rough * 0.999) {
         step = decade * nice;
         break;
      }
   }
   std::vector<double> places;
   for (int i = 0; i <= 2 * wanted && step * i <= greatest * (1 + 1e-9); ++i) {
      places.push_back(step * i);
   }
   return places;
}

double roomFor(double greatest) { return std::max(greatest * 1.2, 4.0); }

}  // namespace Ctl::Report
