#include "commands/Cloud.h"

#include "clouds/Points.h"

namespace queltool {

void addCloud(Command& command, const std::string& name, InputFile& file) {
  command
      .input(name, file, "PLY, PCD, STL, OBJ, OFF or PTS file, or text with x, y, z in each line; - is standard input",
             cloudFormats())
      .required();
  addColumns(command, file, 3, "x, y and z");
  command.input("--transform", file.transform,
                "Transform file (.trn) that moves the cloud first: p' = R p + t, in millimetres");
}

void addColumns(Command& command, InputFile& file, int count, const std::string& usual) {
  command
      .option("--columns", file.columns,
              "Columns of a text to take for " + usual + ", by name or by place from 1 on, such as 4,5,6")
      .separatedBy(',')
      .count(count, count);
}

}  // namespace queltool
