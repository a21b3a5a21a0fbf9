#pragma once

#include <QString>
#include <QStringView>
#include <memory>
#include <optional>

namespace qf {

// Plain decimal numbers as a locale writes them, fractions allowed:
// "-1234.56" and "1,234.56" in en_US, "1.234,56" in de_DE. No currency
// signs, no surrounding text. The empty identifier means the default locale
// at construction (LocaleDefaults). Use one instance per thread.
class DecimalNumberParser {
public:
    explicit DecimalNumberParser(const QString& localeIdentifier = QString());
    DecimalNumberParser(DecimalNumberParser&&) noexcept;
    DecimalNumberParser& operator=(DecimalNumberParser&&) noexcept;
    ~DecimalNumberParser();

    // The whole text must be the number; anything else gives none.
    std::optional<double> parse(QStringView text) const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace qf
