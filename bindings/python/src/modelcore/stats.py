"""Distribution functions, quantiles, densities and special functions of numbers and arrays, which broadcast.

Names end in _cdf (P(X <= x)), _sf (the upper tail P(X > x), computed as such), _quantile, _pdf and _pmf. A result that
does not exist, or an argument outside the domain, is NaN; with raise_errors=True it raises ValueError, unless an argument
was NaN. Where the text of a function speaks of missing, that is NaN here. Each element has the bits of the scalar function.
"""

from ._core import (
    beta_cdf,
    beta_quantile,
    binom_cdf,
    binom_pmf,
    binom_quantile,
    chi2_cdf,
    chi2_quantile,
    chi2_sf,
    digamma,
    f_cdf,
    f_quantile,
    f_sf,
    gamma_cdf,
    gamma_pdf,
    gamma_quantile,
    gammaln,
    hypergeom_cdf,
    hypergeom_pmf,
    median_interval,
    negbinom_pmf,
    noncentral_chi2_cdf,
    noncentral_f_cdf,
    noncentral_t_cdf,
    noncentral_t_pdf,
    noncentrality_chi2,
    noncentrality_f,
    noncentrality_t,
    norm_cdf,
    norm_pdf,
    norm_quantile,
    norm_sf,
    percentile,
    t_cdf,
    t_pdf,
    t_quantile,
    t_sf,
    trigamma,
)

__all__ = [
    "beta_cdf", "beta_quantile", "binom_cdf", "binom_pmf", "binom_quantile", "chi2_cdf", "chi2_quantile", "chi2_sf",
    "digamma", "f_cdf", "f_quantile", "f_sf", "gamma_cdf", "gamma_pdf", "gamma_quantile", "gammaln",
    "hypergeom_cdf", "hypergeom_pmf", "median_interval", "negbinom_pmf", "noncentral_chi2_cdf", "noncentral_f_cdf",
    "noncentral_t_cdf", "noncentral_t_pdf", "noncentrality_chi2", "noncentrality_f", "noncentrality_t", "norm_cdf",
    "norm_pdf", "norm_quantile", "norm_sf", "percentile", "t_cdf", "t_pdf", "t_quantile", "t_sf", "trigamma",
]
