void symbolThatNobodyHas() {}
