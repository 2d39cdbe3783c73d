// What the scripts of this folder share.
display = hexadecimal!;
prec = 400!;

procedure write_number(name, value) {
  print("inline constexpr mreal " @ name @ " = " @ round(value, D, RN) @ ";");
};

// One number a line.
procedure write_table(name, values) {
  var v;
  print("inline constexpr mreal " @ name @ "[] = {");
  for v in values do print("    " @ round(v, D, RN) @ ",");
  print("};");
};

// The coefficients of a polynomial from the constant on, after the largest deviation as the script
// has found it.
procedure write_polynomial(name, p, deviation) {
  var k, terms;
  terms = [||];
  for k from 0 to degree(p) do terms = terms :. coeff(p, k);
  display = decimal!;
  print("// error 2^" @ round(log2(deviation), 12, RN));
  display = hexadecimal!;
  write_table(name, terms);
};

// The series of f at 0 from the term of degree m on, over x^m: a polynomial, which has no hole at 0.
procedure series_from(f, m, n) {
  var k, p, s;
  s = taylor(f, n, 0);
  p = 0;
  for k from m to n do p = p + coeff(s, k) * x^(k - m);
  return horner(p);
};

// The same in singles.
procedure single_text(value) {
  var text;
  if (value == 0) then text = "0.0f" else text = "" @ round(value, SG, RN) @ "f";
  return text;
};
procedure write_single(name, value) {
  print("inline constexpr float " @ name @ " = " @ single_text(value) @ ";");
};
procedure write_single_table(name, values) {
  var v;
  print("inline constexpr float " @ name @ "[] = {");
  for v in values do print("    " @ single_text(v) @ ",");
  print("};");
};
procedure write_single_polynomial(name, p, deviation) {
  var k, terms;
  terms = [||];
  for k from 0 to degree(p) do terms = terms :. coeff(p, k);
  display = decimal!;
  print("// error 2^" @ round(log2(deviation), 12, RN));
  display = hexadecimal!;
  write_single_table(name, terms);
};
