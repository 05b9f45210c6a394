#pragma once

#include "kernel/main/export.h"

#include <QString>

#include <cstddef>
#include <vector>

namespace tov::main {

class AbstractParameter;

/// An ordered list of parameters with an identifier. Owns them: each value is deleted (`deleteValue`), then the
/// parameter. Thread: one at a time.
class TOV_EXPORT ParameterSet
{
public:
    explicit ParameterSet(int id, const QString& title = QString());
    ParameterSet(const ParameterSet&) = delete;
    ParameterSet& operator=(const ParameterSet&) = delete;
    ~ParameterSet();

    /// The identifier of the set within its command.
    int getId() const { return m_Id; }
    /// The heading that dialogs show for the set.
    QString getTitle() const { return m_Title; }
    /// Takes over the parameter.
    void addParameter(AbstractParameter* parameter);
    /// The number of parameters.
    std::size_t size() const { return m_Parameters.size(); }
    /// True when there are no parameters.
    bool isEmpty() const { return m_Parameters.empty(); }
    /// The parameter at an index from 0; throws `std::out_of_range`.
    AbstractParameter* at(std::size_t index) const;
    /// The parameter with that name, in any case, or null.
    AbstractParameter* find(const QString& name) const;
    /// The parameters in order; owned by the set.
    const std::vector<AbstractParameter*>& getParameters() const { return m_Parameters; }

private:
    int m_Id;
    QString m_Title;
    std::vector<AbstractParameter*> m_Parameters;
};

} // namespace tov::main
