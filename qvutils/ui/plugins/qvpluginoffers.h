#pragma once
#include <complex>
#include <string>
#include <vector>

#include "qvutils/common/formula/funcparser.h"
#include "qvutils/ui/project/qvnodeinfo.h"

class QVObject;

/// What a plug-in has offered through its PluginInfo and is not accepted yet.
class qvPluginOffers {
public:
    struct Function {
        std::string name;
        int arity;
        QVFormulaFunction<double> real;
        QVFormulaFunction<std::complex<double>> complex;
    };

    std::vector<qvProjectNodeInfo> nodeTypes;
    std::vector<QVObject*> commands;
    std::vector<Function> functions;
    std::vector<std::string> materialDirectories;
};
