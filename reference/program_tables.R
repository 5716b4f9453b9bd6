# What R says of the models that the tests of the programs fit: writes tests/data/programs/data.csv and expected.csv.
#
# Usage, from the top folder: Rscript reference/program_tables.R      (R 4.2.2; base R only)
folder <- "tests/data/programs/"
set.seed(20240229)
N <- 240
x <- round(rnorm(N, 3, 1.5), 2)
f <- sample(c("a", "b", "c"), N, TRUE, c(0.5, 0.3, 0.2))
g <- sample(c("u", "v"), N, TRUE, c(0.6, 0.4))
h <- sample(c("p", "q"), N, TRUE)
n <- sample(1:4, N, TRUE)
w <- round(runif(N, 0.2, 3), 1)
y <- as.integer(runif(N) < plogis(-1.2 + 0.5 * x + (f == "b") - 0.4 * (g == "v")))
z <- round(2 + 0.7 * x - 0.2 * x^2 + c(a = 0, b = 1.5, c = -1)[f] * (1 + (g == "v")) + rnorm(N), 2)
s <- round(plogis(-1 + 0.5 * x), 2) # a score with ties
h <- ifelse(f == "c", "p", h)       # the cell of c and q is empty
d <- data.frame(y, z, x, f, g, h, n, w, s)
write.csv(d, paste0(folder, "data.csv"), row.names = FALSE, quote = FALSE)
d <- read.csv(paste0(folder, "data.csv"), stringsAsFactors = TRUE)

rows <- character()
put <- function(model, quantity, name, value)
  rows <<- c(rows, paste(model, quantity, name, sprintf("%.15g", value), sep = ","))
rename <- function(names) { # f levels in R's names: "x:fb" -> "x:f=b"
  names <- gsub("I\\(x\\^2\\)", "x^2", names)
  names <- gsub("\\b([fgh])([a-z])\\b", "\\1=\\2", names)
  names
}
coefficients <- function(model, fit) {
  table <- summary(fit)$coefficients
  for (i in seq_len(nrow(table))) {
    put(model, "estimate", rename(rownames(table)[i]), table[i, 1])
    put(model, "stdError", rename(rownames(table)[i]), table[i, 2])
  }
}
strict <- glm.control(epsilon = 1e-15, maxit = 100)

glms <- list(
  logit = glm(y ~ x + f + x:f, binomial, d, control = strict),
  probit = glm(y ~ x + f * g, binomial("probit"), d, weights = n, control = strict),
  cloglog = glm(y ~ x + g, binomial("cloglog"), d, weights = n, control = strict))
for (name in names(glms)) {
  fit <- glms[[name]]
  for (step in 1:8) fit <- update(fit, start = coef(fit), control = strict) # to the estimates, beyond its own criterion
  coefficients(name, fit)
  put(name, "model", "deviance", fit$deviance)
  put(name, "model", "nullDeviance", fit$null.deviance)
}
wald <- function(model, name, term, pattern) { # with coding that sums to zero
  k <- grep(pattern, names(coef(model)))
  b <- coef(model)[k]
  put(name, "wald", term, as.numeric(t(b) %*% solve(vcov(model)[k, k]) %*% b))
}
logitSum <- glm(y ~ x + f + x:f, binomial, d, contrasts = list(f = "contr.sum"), control = strict)
wald(logitSum, "logit", "x", "^x$"); wald(logitSum, "logit", "f", "^f.$"); wald(logitSum, "logit", "x:f", "x:f")
ll <- function(formula) glm(formula, binomial, d, control = strict)$deviance
put("logit", "ratio", "f", ll(y ~ x + x:f) - ll(y ~ x + f + x:f))
put("logit", "ratio", "x:f", ll(y ~ x + f) - ll(y ~ x + f + x:f))
put("logit", "ratio", "x", ll(y ~ f) - ll(y ~ f + x))

lms <- list(crossed = lm(z ~ x + I(x^2) + f * g, d), weighted = lm(z ~ x + f + x:f, d, weights = w))
for (name in names(lms)) {
  coefficients(name, lms[[name]])
  put(name, "model", "rSquared", summary(lms[[name]])$r.squared)
}
three <- drop1(lm(z ~ x + I(x^2) + f * g, d, contrasts = list(f = "contr.sum", g = "contr.sum")), . ~ ., test = "F")
for (term in rownames(three)[-1]) {
  put("crossed", "F", rename(term), three[term, "F value"])
  put("crossed", "SS", rename(term), three[term, "Sum of Sq"])
}
rss <- function(formula) sum(resid(lm(formula, d))^2)
put("empty", "SS", "f", rss(z ~ h) - rss(z ~ h + f))
put("empty", "SS", "h", rss(z ~ f) - rss(z ~ f + h))
put("empty", "SS", "f:h", rss(z ~ f + h) - rss(z ~ f * h))
p <- predict(lms$crossed, se.fit = TRUE, interval = "confidence")
for (i in c(1, 100, 240)) {
  put("crossed", "prediction", i, p$fit[i, 1]); put("crossed", "residual", i, d$z[i] - p$fit[i, 1])
  put("crossed", "predictionError", i, p$se.fit[i]); put("crossed", "lower", i, p$fit[i, 2])
  put("crossed", "leverage", i, hatvalues(lms$crossed)[i])
}
p <- predict(glms$logit, se.fit = TRUE)
for (i in c(1, 240)) {
  put("logit", "probability", i, plogis(p$fit[i])); put("logit", "predictionError", i, p$se.fit[i])
}

# DeLong, DeLong and Clarke-Pearson (1988) from all pairs, rows counting n times.
r <- d[rep(seq_len(N), d$n), ]
pairs <- outer(r$s[r$y == 1], r$s[r$y == 0], function(a, b) (a > b) + 0.5 * (a == b))
put("score", "roc", "areaUnderROC", mean(pairs))
put("score", "roc", "areaStdError", sqrt(var(rowMeans(pairs)) / nrow(pairs) + var(colMeans(pairs)) / ncol(pairs)))
put("score", "roc", "ks", max(abs(ecdf(r$s[r$y == 1])(r$s) - ecdf(r$s[r$y == 0])(r$s))))
put("score", "roc", "brier", mean((r$s - r$y)^2))
e <- r$z - r$s
put("number", "error", "rSquared", 1 - sum(e^2) / sum((r$z - mean(r$z))^2))
put("number", "error", "meanAbsoluteError", mean(abs(e)))

k <- length(r$z)
m <- sapply(2:4, function(j) mean((r$z - mean(r$z))^j))
put("describe", "z", "mean", mean(r$z)); put("describe", "z", "stdDeviation", sd(r$z))
put("describe", "z", "skewness", sqrt(k * (k - 1)) / (k - 2) * m[2] / m[1]^1.5)
put("describe", "z", "kurtosis", (k - 1) / ((k - 2) * (k - 3)) * ((k + 1) * (m[3] / m[1]^2 - 3) + 6))
put("describe", "z", "p25", quantile(r$z, 0.25, type = 1)); put("describe", "z", "p50", quantile(r$z, 0.5, type = 1))
test <- cor.test(r$z, r$x)
put("describe", "pair", "correlation", test$estimate); put("describe", "pair", "significance", test$p.value)
writeLines(c("model,quantity,name,value", rows), paste0(folder, "expected.csv"))
