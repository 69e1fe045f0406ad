function array = set_field(array, name, values)
%SET_FIELD  Puts one of VALUES into the field of each element.
  values = num2cell(values);
  [array.(name)] = values{:};
end
